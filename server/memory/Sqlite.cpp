#include "server/memory/Sqlite.h"

#include <sqlite3.h>

namespace lumivane::service {

namespace {

void check(int result, sqlite3* database) {
    if (result != SQLITE_OK) {
        throw SqliteError(database != nullptr ? sqlite3_errmsg(database) : sqlite3_errstr(result));
    }
}

// A path may hold what has a meaning in an address.
std::string addressOf(const std::filesystem::path& path) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string address = "file:";
    for (const char character : std::filesystem::absolute(path).string()) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte > ' ' && byte < 0x7F && character != '%' && character != '?' && character != '#') {
            address += character;
        } else {
            address += {'%', digits[byte >> 4U], digits[byte & 0xFU]};
        }
    }
    return address + "?immutable=1";
}

} // namespace

SqliteStatement::SqliteStatement(sqlite3* database, std::string_view sql) {
    sqlite3_stmt* statement = nullptr;
    check(
        sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement, nullptr),
        database);
    m_statement.reset(statement);
}

void SqliteStatement::bind(int parameter, std::string_view text) {
    check(sqlite3_bind_text(m_statement.get(), parameter, text.data(),
                            static_cast<int>(text.size()), SQLITE_TRANSIENT),
          sqlite3_db_handle(m_statement.get()));
}

void SqliteStatement::bind(int parameter, std::int64_t number) {
    check(sqlite3_bind_int64(m_statement.get(), parameter, number),
          sqlite3_db_handle(m_statement.get()));
}

bool SqliteStatement::step() {
    const int result = sqlite3_step(m_statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        throw SqliteError(sqlite3_errmsg(sqlite3_db_handle(m_statement.get())));
    }
    return result == SQLITE_ROW;
}

std::string SqliteStatement::text(int column) const {
    const auto* bytes = sqlite3_column_text(m_statement.get(), column);
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column));
    return bytes == nullptr ? std::string() : std::string(bytes, bytes + size);
}

std::int64_t SqliteStatement::integer(int column) const {
    return sqlite3_column_int64(m_statement.get(), column);
}

double SqliteStatement::real(int column) const {
    return sqlite3_column_double(m_statement.get(), column);
}

void SqliteStatement::Finalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Sqlite::Sqlite(const std::filesystem::path& path, Mode mode) {
    const bool isReading = mode == Mode::readOnly;
    const std::string name = isReading ? addressOf(path) : path.string();
    const int flags = isReading ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI
                                : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    sqlite3* database = nullptr;
    const int result = sqlite3_open_v2(name.c_str(), &database, flags, nullptr);
    m_database.reset(database);
    check(result, database);
}

void Sqlite::execute(const char* sql) {
    check(sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr), m_database.get());
}

SqliteStatement Sqlite::prepare(std::string_view sql) const { return {m_database.get(), sql}; }

void Sqlite::Closer::operator()(sqlite3* database) const { sqlite3_close_v2(database); }

} // namespace lumivane::service
