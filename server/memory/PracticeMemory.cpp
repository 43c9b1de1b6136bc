#include "server/memory/PracticeMemory.h"

#include "server/memory/ExerciseMatch.h"
#include "server/memory/FoldedWords.h"
#include "server/memory/MemoryFormat.h"
#include "server/memory/Sqlite.h"
#include "server/text/StrictJson.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <vector>

namespace lumivane::service {

namespace {

// A score of the search is below zero, and lower is better. Screens of other things that share a
// few words with an exercise stay above this; screens of exercises reach three times as far.
constexpr double worstRank = -4.0;
constexpr std::int64_t mostCandidates = 6;

// Two exercises this close on one screen: a list of them, and no answer is better than a guess.
constexpr double leastLead = 0.15;

// A mail about a robber in a house has many words of an exercise, and none of these.
constexpr const char* programmersWords =
    "algorithm array class code constraints def easy example function given hard input int integer "
    "list medium output python return solution string var void";

std::int64_t numberOf(const Sqlite& database, std::string_view sql) {
    auto statement = database.prepare(sql);
    if (!statement.step()) {
        throw SqliteError("no row");
    }
    return statement.integer(0);
}

std::string textOf(const Sqlite& database, std::string_view sql) {
    auto statement = database.prepare(sql);
    return statement.step() ? statement.text(0) : std::string();
}

std::vector<memoryFormat::Row> rowsOf(const Sqlite& database) {
    std::vector<memoryFormat::Row> rows;
    auto statement = database.prepare(
        "SELECT exercises.title, exercises.signs, exercises.answer, search.words "
        "FROM exercises JOIN search ON search.rowid = exercises.number ORDER BY exercises.number");
    while (statement.step()) {
        rows.push_back(
            {statement.text(0), statement.text(1), statement.text(2), statement.text(3)});
    }
    return rows;
}

std::vector<memoryFormat::Row> checkedRows(const Sqlite& database) {
    if (numberOf(database, "PRAGMA application_id") != memoryFormat::applicationId) {
        throw PracticeMemoryError("it is no practice memory");
    }
    if (numberOf(database, "PRAGMA user_version") != memoryFormat::version) {
        throw PracticeMemoryError("it was made by another version");
    }
    auto rows = rowsOf(database);
    const bool isWhole =
        textOf(database, "PRAGMA quick_check") == "ok" &&
        textOf(database, "SELECT digest FROM contents") == memoryFormat::digestOf(rows);
    if (rows.empty() || !isWhole) {
        throw PracticeMemoryError("it is damaged");
    }
    return rows;
}

} // namespace

struct PracticeMemory::State {
    explicit State(const std::filesystem::path& path)
        : database(path, Sqlite::Mode::readOnly)
        , rows(checkedRows(database)) {
        for (const std::string& word : foldedWordsOf(programmersWords)) {
            ofProgrammers.insert(vocabulary.add(word));
        }
        for (const memoryFormat::Row& row : rows) {
            matches.emplace_back(decodeSigns(row.signs), vocabulary);
        }
    }

    // The rows of the exercises that have words in common with the screen, best first.
    std::vector<std::size_t> candidates(const ExerciseScreen& screen) const {
        std::string query;
        bool isOfProgrammers = false;
        for (const Vocabulary::Id id : screen.knownWords()) {
            isOfProgrammers = isOfProgrammers || ofProgrammers.contains(id);
            query.append(query.empty() ? "\"" : " OR \"").append(vocabulary.word(id)).append("\"");
        }
        std::vector<std::size_t> found;
        if (!isOfProgrammers) {
            return found;
        }
        const std::lock_guard lock(mutex);
        auto statement = database.prepare("SELECT rowid, rank FROM search WHERE search MATCH ? "
                                          "ORDER BY rank LIMIT ?");
        statement.bind(1, query);
        statement.bind(2, mostCandidates);
        while (statement.step() && statement.real(1) <= worstRank) {
            found.push_back(static_cast<std::size_t>(statement.integer(0)) - 1);
        }
        return found;
    }

    // None for no exercise, and for several.
    std::optional<memoryFormat::Row> find(const ExerciseScreen& screen) const {
        std::optional<std::size_t> best;
        double strongest = 0;
        double second = 0;
        for (const std::size_t index : candidates(screen)) {
            const MatchEvidence evidence = matches.at(index).evidenceOn(screen);
            if (!isEnough(evidence)) {
                continue;
            }
            const double strength = strengthOf(evidence);
            second = std::max(second, std::min(strength, strongest));
            if (strength > strongest) {
                strongest = strength;
                best = index;
            }
        }
        return best && strongest - second >= leastLead ? std::optional(rows[*best]) : std::nullopt;
    }

    Sqlite database;
    mutable std::mutex mutex; ///< for the database
    std::vector<memoryFormat::Row> rows;
    Vocabulary vocabulary;
    std::set<Vocabulary::Id> ofProgrammers;
    std::vector<ExerciseMatch> matches; ///< beside the rows
};

PracticeMemory::PracticeMemory(std::unique_ptr<State> state)
    : m_state(std::move(state)) {}

PracticeMemory::~PracticeMemory() = default;

std::unique_ptr<PracticeMemory> PracticeMemory::open(const std::filesystem::path& path) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        throw PracticeMemoryError("it is not there");
    }
    try {
        auto state = std::make_unique<State>(path);
        return std::unique_ptr<PracticeMemory>(new PracticeMemory(std::move(state)));
    } catch (const SqliteError&) {
        throw PracticeMemoryError("it cannot be read, or is damaged");
    } catch (const JsonError&) {
        throw PracticeMemoryError("it is damaged");
    }
}

std::size_t PracticeMemory::size() const { return m_state->rows.size(); }

std::optional<WorkedExercise> PracticeMemory::match(std::string_view screenText) const {
    const ExerciseScreen screen(screenText, m_state->vocabulary);
    try {
        const auto row = m_state->find(screen);
        return row ? std::optional(WorkedExercise{row->title, row->answer}) : std::nullopt;
    } catch (const SqliteError&) {
        return std::nullopt; // the file has changed since it was checked
    }
}

} // namespace lumivane::service
