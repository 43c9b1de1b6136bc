#include "server/TemporaryFolder.h"
#include "server/configuration/CommandLine.h"
#include "server/configuration/ServiceConfiguration.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

namespace lumivane::service {

namespace fs = std::filesystem;
using test::TemporaryFolder;

class ServiceConfigurationTest : public testing::Test {
protected:
    ServiceConfigurationTest() {
        surroundings.environment = {{"HOME", folder.path().string()}};
        surroundings.executableFolder = folder.path() / "bin";
    }

    void write(const std::string& text) { std::ofstream(file) << text; }

    ServiceConfiguration load() { return loadConfiguration(file, surroundings); }

    std::string errorOf(const std::string& text) {
        write(text);
        try {
            load();
        } catch (const ConfigurationError& error) {
            return error.what();
        }
        return "accepted";
    }

    TemporaryFolder folder;
    fs::path file = folder.path() / "config.json";
    Surroundings surroundings;
};

TEST_F(ServiceConfigurationTest, DefaultsWithoutAnyFile) {
    const auto configuration = loadConfiguration(std::nullopt, surroundings);
    EXPECT_EQ(configuration.address, "127.0.0.1");
    EXPECT_EQ(configuration.port, 8787);
    EXPECT_FALSE(configuration.chat);
    EXPECT_EQ(configuration.dataFolder, folder.path() / ".local/share/lumivane-service");
    EXPECT_TRUE(fs::exists(configuration.promptsFolder / "summary.txt"));
}

TEST_F(ServiceConfigurationTest, FoldersFollowTheDesktopsVariables) {
    surroundings.environment["XDG_DATA_HOME"] = "/data";
    surroundings.environment["XDG_CONFIG_HOME"] = "/config";
    EXPECT_EQ(loadConfiguration(std::nullopt, surroundings).dataFolder, "/data/lumivane-service");
    EXPECT_EQ(defaultConfigurationFile(surroundings), "/config/lumivane-service/config.json");
    surroundings.environment["XDG_DATA_HOME"] = "relative";
    EXPECT_EQ(loadConfiguration(std::nullopt, surroundings).dataFolder,
              folder.path() / ".local/share/lumivane-service");
}

TEST_F(ServiceConfigurationTest, TheInstalledMemoryComesBeforeTheOneBesideTheService) {
    surroundings.executableFolder = folder.path() / "bin";
    EXPECT_EQ(loadConfiguration(std::nullopt, surroundings).memoryFile,
              folder.path() / "bin/practice-memory.sqlite3");
    const auto installed = folder.path() / "share/lumivane-service/practice-memory.sqlite3";
    fs::create_directories(installed.parent_path());
    std::ofstream(installed) << "anything";
    EXPECT_EQ(loadConfiguration(std::nullopt, surroundings).memoryFile, installed);
}

TEST_F(ServiceConfigurationTest, ReadsEveryKey) {
    write(R"({"address":"::1","port":0,"chat_base_url":"https://a.example","chat_model":"m",
        "chat_api_key":"k","data_folder":"/d","prompts_folder":"/p",
        "memory_file":"/m"})");
    const auto configuration = load();
    EXPECT_EQ(configuration.address, "::1");
    EXPECT_EQ(configuration.port, 0);
    ASSERT_TRUE(configuration.chat);
    EXPECT_EQ(configuration.chat->baseUrl, "https://a.example");
    EXPECT_EQ(configuration.chat->model, "m");
    EXPECT_EQ(configuration.chat->apiKey, "k");
    EXPECT_EQ(configuration.dataFolder, "/d");
    EXPECT_EQ(configuration.promptsFolder, "/p");
    EXPECT_EQ(configuration.memoryFile, "/m");
}

TEST_F(ServiceConfigurationTest, VariablesWinOverTheFile) {
    write(R"({"port":1,"data_folder":"/file"})");
    surroundings.environment["LUMIVANE_SERVICE_PORT"] = "9000";
    surroundings.environment["LUMIVANE_SERVICE_CHAT_BASE_URL"] = "http://localhost:1";
    surroundings.environment["LUMIVANE_SERVICE_CHAT_MODEL"] = "m";
    const auto configuration = load();
    EXPECT_EQ(configuration.port, 9000);
    EXPECT_EQ(configuration.dataFolder, "/file");
    EXPECT_EQ(configuration.chat->model, "m");
    EXPECT_EQ(configuration.chat->apiKey, std::nullopt);
}

TEST_F(ServiceConfigurationTest, WrongSettingsNameTheirKeyAndNotTheirValue) {
    EXPECT_EQ(errorOf(R"({"prot":1})"), "unknown configuration key \"prot\"");
    EXPECT_EQ(errorOf(R"({"port":"1"})"), "configuration key \"port\" must be an integer");
    EXPECT_EQ(errorOf(R"({"port":1.5})"), "configuration key \"port\" must be an integer");
    EXPECT_EQ(errorOf(R"({"port":null})"), "configuration key \"port\" must be an integer");
    EXPECT_EQ(errorOf(R"({"port":65536})"),
              "configuration key \"port\" must be a number from 0 to 65535");
    EXPECT_EQ(errorOf(R"({"port":-1})"),
              "configuration key \"port\" must be a number from 0 to 65535");
    EXPECT_EQ(errorOf(R"({"data_folder":7})"),
              "configuration key \"data_folder\" must be a string");
    EXPECT_EQ(errorOf(R"({"data_folder":""})"),
              "configuration key \"data_folder\" must not be empty");
    EXPECT_EQ(errorOf(R"({"chat_base_url":"https://a.example","chat_model":"m",)"
                      R"("chat_api_key":"canary\r\nX: y"})"),
              "configuration key \"chat_api_key\" must have at least 1 visible ASCII characters");
    EXPECT_EQ(errorOf("[]"), "the configuration file is not one JSON object: " + file.string());
    EXPECT_EQ(errorOf("{"), "the configuration file is not one JSON object: " + file.string());
}

TEST_F(ServiceConfigurationTest, AModelIsConfiguredAsAWhole) {
    EXPECT_EQ(errorOf(R"({"chat_base_url":"https://a.example"})"),
              "configuration key \"chat_base_url\" is set, and \"chat_model\" is not");
    EXPECT_EQ(errorOf(R"({"chat_model":"m"})"),
              "configuration key \"chat_model\" is set, and \"chat_base_url\" is not");
    EXPECT_EQ(errorOf(R"({"chat_api_key":"k"})"),
              "configuration key \"chat_api_key\" is set, and \"chat_base_url\" is not");
}

TEST_F(ServiceConfigurationTest, UnknownVariablesAndMissingFilesAreErrors) {
    EXPECT_THROW(load(), ConfigurationError);
    write("{}");
    surroundings.environment["LUMIVANE_SERVICE_PROT"] = "1";
    try {
        load();
        FAIL();
    } catch (const ConfigurationError& error) {
        EXPECT_STREQ(error.what(), "unknown environment variable LUMIVANE_SERVICE_PROT");
    }
}

TEST(CommandLine, KnowsItsSwitches) {
    const auto parse = [](std::vector<std::string> arguments) {
        return parseCommandLine(arguments);
    };
    EXPECT_EQ(parse({}).action, CommandLine::Action::serve);
    EXPECT_EQ(parse({"--help"}).action, CommandLine::Action::showHelp);
    EXPECT_EQ(parse({"--version"}).action, CommandLine::Action::showVersion);
    EXPECT_EQ(parse({"--config", "/x"}).configurationFile, "/x");
    EXPECT_THROW(parse({"--config"}), UsageError);
    EXPECT_THROW(parse({"--port", "1"}), UsageError);
    EXPECT_THROW(parse({"serve"}), UsageError);
}

} // namespace lumivane::service
