#include "server/configuration/AccountConfiguration.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace lumivane::service {

class AccountConfigurationTest : public testing::Test {
protected:
    void set(const std::string& key, const std::string& text) {
        settings[key] = SettingText{"setting \"" + key + "\"", text};
    }

    AccountConfiguration read() { return accountConfiguration(settings, "/data"); }

    std::string errorWith(const std::string& key, const std::string& text) {
        settings.clear();
        set(key, text);
        try {
            read();
        } catch (const ConfigurationError& error) {
            return error.what();
        }
        return "accepted";
    }

    SettingTexts settings;
};

TEST_F(AccountConfigurationTest, DefaultsAreAFileAndNoProvider) {
    const AccountConfiguration accounts = read();
    EXPECT_EQ(accounts.databaseLocation, "/data/service.sqlite3");
    EXPECT_FALSE(accounts.publicBaseUrl);
    EXPECT_FALSE(accounts.isBehindProxy);
    EXPECT_EQ(accounts.accessTokenLifetime, std::chrono::minutes(15));
    EXPECT_EQ(accounts.refreshTokenLifetime, std::chrono::days(60));
    EXPECT_EQ(accounts.loginsPerMinute, 60U);
    EXPECT_EQ(accounts.refreshesPerMinute, 30U);
    EXPECT_EQ(accounts.handlesPerMinute, 120U);
    EXPECT_TRUE(accounts.providers.empty());
}

TEST_F(AccountConfigurationTest, ReadsEverySetting) {
    set("database_url", "postgresql://u:p@db.example/lumivane");
    set("public_base_url", "https://lumivane.example:8443");
    set("behind_proxy", "true");
    set("access_token_minutes", "5");
    set("refresh_token_days", "7");
    set("logins_per_minute", "0");
    set("refreshes_per_minute", "1");
    set("handles_per_minute", "100000");
    const AccountConfiguration accounts = read();
    EXPECT_EQ(accounts.databaseLocation, "postgresql://u:p@db.example/lumivane");
    EXPECT_EQ(accounts.publicBaseUrl, "https://lumivane.example:8443");
    EXPECT_TRUE(accounts.isBehindProxy);
    EXPECT_EQ(accounts.accessTokenLifetime, std::chrono::minutes(5));
    EXPECT_EQ(accounts.refreshTokenLifetime, std::chrono::days(7));
    EXPECT_EQ(accounts.loginsPerMinute, 0U);
    EXPECT_EQ(accounts.refreshesPerMinute, 1U);
    EXPECT_EQ(accounts.handlesPerMinute, 100'000U);
}

TEST_F(AccountConfigurationTest, TheDatabaseIsAServerOrAnAbsolutePath) {
    EXPECT_EQ(errorWith("database_url", "/var/lib/lumivane/a.sqlite3"), "accepted");
    EXPECT_EQ(errorWith("database_url", "postgres://db.example/x"), "accepted");
    for (const char* text : {"", "a.sqlite3", "mysql://canary", "sqlite:canary"}) {
        EXPECT_EQ(errorWith("database_url", text),
                  "setting \"database_url\" must be a postgresql:// URL or an absolute path");
    }
}

TEST_F(AccountConfigurationTest, ThePublicAddressIsABareOrigin) {
    for (const char* text : {"http://127.0.0.1:8787", "http://localhost", "http://[::1]:1",
                             "https://localhost:8443"}) {
        EXPECT_EQ(errorWith("public_base_url", text), "accepted") << text;
    }
    for (const char* text : {"", "a.example", "https://", "https://u@a.example",
                             "https://a.example/x", "https://a.example?x", "https://a.example#x",
                             "https://a.example//", "//a.example", "https:a"}) {
        EXPECT_EQ(errorWith("public_base_url", text),
                  "setting \"public_base_url\" must be a scheme, a host and maybe a port")
            << text;
    }
    for (const char* text : {"http://a.example", "ftp://127.0.0.1", "http://localhost.a.example"}) {
        EXPECT_EQ(errorWith("public_base_url", text),
                  "setting \"public_base_url\" must use https for any host but a loopback one")
            << text;
    }
    settings.clear();
    set("behind_proxy", "true");
    set("public_base_url", "https://a.example/");
    EXPECT_EQ(read().publicBaseUrl, "https://a.example");
}

TEST_F(AccountConfigurationTest, AnAddressForOtherMachinesNeedsTheProxySetting) {
    for (const char* text : {"https://a.example", "https://a.example:444", "https://10.0.0.5",
                             "https://localhost.a.example"}) {
        EXPECT_EQ(errorWith("public_base_url", text),
                  "setting \"public_base_url\" is for users of other machines and needs "
                  "\"behind_proxy\"")
            << text;
        set("behind_proxy", "false");
        EXPECT_THROW(read(), ConfigurationError) << text;
        set("behind_proxy", "true");
        EXPECT_EQ(read().publicBaseUrl, text);
    }
}

TEST_F(AccountConfigurationTest, NumbersHaveBounds) {
    for (const char* text : {"0", "4", "1441", "-1", "1.5", "", "1 ", "x"}) {
        EXPECT_EQ(errorWith("access_token_minutes", text),
                  "setting \"access_token_minutes\" must be a number from 5 to 1440")
            << text;
    }
    EXPECT_EQ(errorWith("refresh_token_days", "3651"),
              "setting \"refresh_token_days\" must be a number from 1 to 3650");
    EXPECT_EQ(errorWith("logins_per_minute", "100001"),
              "setting \"logins_per_minute\" must be a number from 0 to 100000");
    EXPECT_EQ(errorWith("behind_proxy", "yes"), "setting \"behind_proxy\" must be true or false");
}

TEST_F(AccountConfigurationTest, AProviderIsWholeOrAbsent) {
    EXPECT_EQ(errorWith("github_client_id", "canary"),
              "setting \"github_client_id\" is set, and \"github_client_secret\" is not");
    EXPECT_EQ(errorWith("google_client_secret", "canary"),
              "setting \"google_client_secret\" is set, and \"google_client_id\" is not");
    EXPECT_EQ(errorWith("facebook_token_url", "https://canary.example"),
              "setting \"facebook_token_url\" is set, and \"facebook_client_id\" is not");
    set("facebook_client_id", "");
    set("facebook_client_secret", "s");
    EXPECT_THROW(read(), ConfigurationError);
}

TEST_F(AccountConfigurationTest, ReadsAProvidersAddresses) {
    set("github_client_id", "id");
    set("github_client_secret", "secret");
    set("github_authorization_url", "https://g.example/authorize");
    set("github_token_url", "https://g.example/token");
    set("github_user_url", "https://g.example/user");
    set("github_emails_url", "https://g.example/emails");
    set("google_client_id", "gid");
    set("google_client_secret", "gs");
    set("google_issuer", "https://o.example");
    set("google_keys_url", "https://o.example/keys");
    const AccountConfiguration accounts = read();
    ASSERT_EQ(accounts.providers.size(), 2U);
    const ProviderConfiguration& google = accounts.providers[0];
    EXPECT_EQ(google.provider, "google");
    EXPECT_EQ(google.issuer, "https://o.example");
    EXPECT_EQ(google.keysUrl, "https://o.example/keys");
    EXPECT_EQ(google.tokenUrl, "");
    const ProviderConfiguration& github = accounts.providers[1];
    EXPECT_EQ(github.provider, "github");
    EXPECT_EQ(github.clientId, "id");
    EXPECT_EQ(github.clientSecret, "secret");
    EXPECT_EQ(github.authorizationUrl, "https://g.example/authorize");
    EXPECT_EQ(github.tokenUrl, "https://g.example/token");
    EXPECT_EQ(github.userUrl, "https://g.example/user");
    EXPECT_EQ(github.emailsUrl, "https://g.example/emails");
}

TEST_F(AccountConfigurationTest, EverySettingIsInTheGuide) {
    std::ifstream file(std::string(LUMIVANE_SCRIPTS_FOLDER) + "/../docs/SERVICE.md");
    std::ostringstream guide;
    guide << file.rdbuf();
    ASSERT_FALSE(allSettings().empty());
    for (const SettingKey& setting : allSettings()) {
        const std::string quoted = "`" + std::string(setting.key) + "`";
        EXPECT_NE(guide.str().find(quoted), std::string::npos) << setting.key;
    }
}

} // namespace lumivane::service
