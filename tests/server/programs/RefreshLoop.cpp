// Changes a database until it is killed, and says on standard output what it was told is kept.
//
//     refresh-loop exchange LOCATION TOKEN   one exchange after the other, a line for each
//     refresh-loop hold LOCATION             stays in the middle of a transaction
//
// Operations are named by their number, so that the killer can ask for the last one again.

#include "server/accounts/TokenExchange.h"
#include "server/store/Database.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace {

using namespace lumivane::service;

void say(const std::string& line) {
    const std::string text = line + "\n";
    if (::write(STDOUT_FILENO, text.data(), text.size()) < 0) {
        ::_exit(1);
    }
}

std::string operation(unsigned number) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "00000000-0000-4000-8000-%012u", number);
    return text.data();
}

[[noreturn]] void exchangeForEver(Database& database, std::string token) {
    const SystemWallClock clock;
    TokenExchange tokens(database, TokenDerivation::load(database), clock, SessionSettings());
    for (unsigned number = 1;; ++number) {
        token = tokens.refresh({token, operation(number)}).tokens.refreshToken;
        say(token);
    }
}

[[noreturn]] void hold(Database& database) {
    database.transact([](soci::session& sql) {
        sql << "INSERT INTO service_secrets (name, value) VALUES ('held', 'x')";
        sql << "DELETE FROM accounts";
        say("holding");
        for (;;) {
            ::pause();
        }
    });
    ::_exit(1);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 2;
    }
    try {
        DatabaseSettings settings;
        settings.location = argv[2];
        settings.connections = 1;
        const auto database = Database::open(settings);
        if (argc == 4 && std::strcmp(argv[1], "exchange") == 0) {
            exchangeForEver(*database, argv[3]);
        }
        hold(*database);
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
