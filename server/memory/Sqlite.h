#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace lumivane::service {

/// The database library refused something. `what()` is its own sentence and holds no data.
class SqliteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A prepared statement. Lives no longer than its database; for one thread at a time.
class SqliteStatement {
public:
    SqliteStatement(sqlite3* database, std::string_view sql);

    /// Parameters count from 1. The text is copied.
    void bind(int parameter, std::string_view text);
    void bind(int parameter, std::int64_t number);

    /// Goes to the next row; false behind the last one. Throws SqliteError.
    bool step();

    /// Columns count from 0.
    std::string text(int column) const;
    std::int64_t integer(int column) const;
    double real(int column) const;

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const;
    };

    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

/// One connection to a database file; for one thread at a time.
class Sqlite {
public:
    enum class Mode {
        readOnly, ///< of a file that nobody writes; takes no lock and leaves no file beside it
        create    ///< makes the file
    };

    Sqlite(const std::filesystem::path& path, Mode mode);

    /// Runs statements without results. Throws SqliteError.
    void execute(const char* sql);

    SqliteStatement prepare(std::string_view sql) const;

private:
    struct Closer {
        void operator()(sqlite3* database) const;
    };

    std::unique_ptr<sqlite3, Closer> m_database;
};

} // namespace lumivane::service
