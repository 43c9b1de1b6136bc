#include "server/memory_build/MemoryWriter.h"

#include "server/memory/MemoryFormat.h"
#include "server/memory/Sqlite.h"

namespace lumivane::service {

namespace {

constexpr const char* tables = R"sql(
    PRAGMA journal_mode = OFF;
    BEGIN;
    CREATE TABLE contents (digest TEXT NOT NULL);
    CREATE TABLE exercises (
        number INTEGER PRIMARY KEY, title TEXT NOT NULL, signs TEXT NOT NULL, answer TEXT NOT NULL);
    CREATE VIRTUAL TABLE search USING fts5(words, tokenize = 'unicode61');
)sql";

memoryFormat::Row rowOf(const Exercise& exercise) {
    std::string words = exercise.signs.entry + " " + exercise.statement;
    for (const std::string& title : exercise.signs.titles) {
        words.append(" ").append(title);
    }
    for (const Wordings& wordings : exercise.signs.signs) {
        for (const std::string& wording : wordings) {
            words.append(" ").append(wording);
        }
    }
    return {exercise.title(), encodeSigns(exercise.signs), answerOf(exercise),
            memoryFormat::searchWords(words)};
}

void insert(const Sqlite& database, std::int64_t number, const memoryFormat::Row& row) {
    auto exercise = database.prepare("INSERT INTO exercises VALUES (?, ?, ?, ?)");
    exercise.bind(1, number);
    exercise.bind(2, row.title);
    exercise.bind(3, row.signs);
    exercise.bind(4, row.answer);
    exercise.step();
    auto search = database.prepare("INSERT INTO search (rowid, words) VALUES (?, ?)");
    search.bind(1, number);
    search.bind(2, row.words);
    search.step();
}

void fill(Sqlite& database, const std::vector<memoryFormat::Row>& rows) {
    database.execute(tables);
    for (std::size_t index = 0; index < rows.size(); ++index) {
        insert(database, static_cast<std::int64_t>(index) + 1, rows[index]);
    }
    auto contents = database.prepare("INSERT INTO contents VALUES (?)");
    contents.bind(1, memoryFormat::digestOf(rows));
    contents.step();
    const std::string marks =
        "PRAGMA application_id = " + std::to_string(memoryFormat::applicationId) +
        "; PRAGMA user_version = " + std::to_string(memoryFormat::version);
    database.execute("INSERT INTO search (search) VALUES ('optimize'); COMMIT; VACUUM;");
    database.execute(marks.c_str());
}

} // namespace

void writeMemory(const std::vector<Exercise>& exercises, const std::filesystem::path& path) {
    std::vector<memoryFormat::Row> rows;
    rows.reserve(exercises.size());
    for (const Exercise& exercise : exercises) {
        rows.push_back(rowOf(exercise));
    }
    std::filesystem::path unfinished = path;
    unfinished += ".new";
    std::filesystem::remove(unfinished);
    {
        Sqlite database(unfinished, Sqlite::Mode::create);
        fill(database, rows);
    }
    std::filesystem::rename(unfinished, path);
}

} // namespace lumivane::service
