#include "server/memory/ExerciseScreen.h"

#include "server/memory/FoldedWords.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

namespace lumivane::service {

namespace {

constexpr std::size_t wordsBetween = 5;  // of other words within one wording
constexpr std::size_t longestName = 64;  // bytes of a name in a program
constexpr std::size_t fewestForNear = 7; // letters of a name that may have lost one
constexpr std::size_t mostNames = 4'000;
constexpr std::size_t mostDeclarations = 16;      // of one name
constexpr std::size_t longestDeclaration = 240;   // bytes between its parentheses
constexpr std::size_t fewestForNearParameter = 4; // letters of one that may have lost one

bool isNameByte(char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
           (byte >= 'A' && byte <= 'Z') || byte == '_';
}

bool isUpper(char byte) { return byte >= 'A' && byte <= 'Z'; }

// "maxProfit", "max_profit", "MinStack": no word of prose looks like this.
bool isComposed(std::string_view name) {
    const auto inner = name.substr(1);
    return std::any_of(inner.begin(), inner.end(), isUpper) ||
           inner.find('_') != std::string_view::npos;
}

bool isLetter(char byte) { return isNameByte(byte) && (byte < '0' || byte > '9'); }

bool declares(std::string_view word) {
    return word == "def" || word == "function" || word == "func" || word == "fun" || word == "fn";
}

// The names in a parenthesis that declares parameters, by the word before its function or by two
// names for one parameter, of which one is the type. Nothing for a call.
std::optional<std::set<std::string>> declarationIn(std::string_view text, bool isDeclared) {
    text = text.substr(0, longestDeclaration);
    const auto end = text.find(')');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    text = text.substr(0, end);
    std::set<std::string> names;
    bool hasNameBefore = false;
    while (!text.empty()) {
        const auto* const begin = std::find_if(
            text.begin(), text.end(), [](char byte) { return isNameByte(byte) || byte == ','; });
        text.remove_prefix(static_cast<std::size_t>(begin - text.begin()));
        if (text.starts_with(',')) {
            hasNameBefore = false;
            text.remove_prefix(1);
            continue;
        }
        const auto size = static_cast<std::size_t>(
            std::find_if_not(text.begin(), text.end(), isNameByte) - text.begin());
        if (size > 0 && isLetter(text.front())) {
            names.insert(foldName(text.substr(0, size)));
            isDeclared = isDeclared || hasNameBefore;
            hasNameBefore = true;
        }
        text.remove_prefix(size);
    }
    return isDeclared ? std::optional(std::move(names)) : std::nullopt;
}

bool isAmong(const std::set<std::string>& names, const std::string& parameter) {
    return names.contains(parameter) ||
           (parameter.size() >= fewestForNearParameter &&
            std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                return editDistance(name, parameter, 1) <= 1;
            }));
}

} // namespace

ExerciseScreen::ExerciseScreen(std::string_view text, const Vocabulary& vocabulary)
    : m_headings(headingsOf(text))
    , m_places(vocabulary.size()) {
    readWords(text, vocabulary);
    readNames(text);
}

void ExerciseScreen::readWords(std::string_view text, const Vocabulary& vocabulary) {
    std::unordered_map<std::string, std::optional<Vocabulary::Id>> known;
    std::size_t position = 0;
    for (std::size_t line = 0; !text.empty(); ++line) {
        const auto end = std::min(text.find('\n'), text.size());
        for (const std::string& word : foldedWordsOf(text.substr(0, end))) {
            auto entry = known.find(word);
            if (entry == known.end()) {
                entry = known.emplace(word, vocabulary.find(word)).first;
            }
            if (entry->second) {
                m_places[*entry->second].push_back({position, line});
            }
            ++position;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

void ExerciseScreen::readNames(std::string_view text) {
    std::string_view before;
    while (!text.empty() && m_names.size() < mostNames) {
        const auto begin = std::find_if(text.begin(), text.end(), isNameByte);
        text.remove_prefix(static_cast<std::size_t>(begin - text.begin()));
        const auto size = static_cast<std::size_t>(
            std::find_if_not(text.begin(), text.end(), isNameByte) - text.begin());
        const std::string_view name = text.substr(0, size);
        text.remove_prefix(size);
        const auto next = text.find_first_not_of(' ');
        const bool isCalled = next != std::string_view::npos && next <= 1 && text[next] == '(';
        if (!name.empty() && name.size() <= longestName && (isCalled || isComposed(name))) {
            auto& declarations = m_names[foldName(name)];
            if (isCalled && declarations.size() < mostDeclarations) {
                if (auto declared = declarationIn(text.substr(next + 1), declares(before))) {
                    declarations.push_back(*std::move(declared));
                }
            }
        }
        before = name;
    }
}

std::vector<Vocabulary::Id> ExerciseScreen::knownWords() const {
    std::vector<Vocabulary::Id> words;
    for (Vocabulary::Id id = 0; id < m_places.size(); ++id) {
        if (!m_places[id].empty()) {
            words.push_back(id);
        }
    }
    return words;
}

const ExerciseScreen::Place* ExerciseScreen::placeFrom(Vocabulary::Id word,
                                                       std::size_t position) const {
    const auto& places = m_places[word];
    const auto found = std::lower_bound(
        places.begin(), places.end(), position,
        [](const Place& place, std::size_t wanted) { return place.position < wanted; });
    return found == places.end() ? nullptr : &*found;
}

bool ExerciseScreen::holdsNear(const std::vector<Vocabulary::Id>& words) const {
    if (words.empty()) {
        return false;
    }
    const auto fewer = [this](Vocabulary::Id left, Vocabulary::Id right) {
        return m_places[left].size() < m_places[right].size();
    };
    const auto rarest = *std::min_element(words.begin(), words.end(), fewer);
    const std::size_t reach = words.size() + wordsBetween;
    const auto areAllNear = [&](const Place& place) {
        const std::size_t first = place.position > reach ? place.position - reach : 0;
        return std::all_of(words.begin(), words.end(), [&](Vocabulary::Id word) {
            const Place* found = placeFrom(word, first);
            return found != nullptr && found->position <= place.position + reach;
        });
    };
    return std::any_of(m_places[rarest].begin(), m_places[rarest].end(), areAllNear);
}

bool ExerciseScreen::holdsPhrase(const std::vector<Vocabulary::Id>& words,
                                 const std::set<std::size_t>& hidden) const {
    constexpr std::size_t step = 2;
    const auto goesOnFrom = [&](const Place& begin) {
        std::size_t position = begin.position;
        for (std::size_t index = 1; index < words.size(); ++index) {
            const Place* found = placeFrom(words[index], position + 1);
            if (found == nullptr || found->position > position + step) {
                return false;
            }
            position = found->position;
        }
        return !hidden.contains(begin.line);
    };
    return !words.empty() &&
           std::any_of(m_places[words.front()].begin(), m_places[words.front()].end(), goesOnFrom);
}

EntryFit ExerciseScreen::fitOfEntry(std::string_view entry,
                                    const std::vector<std::string>& parameters) const {
    const auto takesThem = [&](const Declaration& names) {
        return std::all_of(parameters.begin(), parameters.end(),
                           [&](const std::string& parameter) { return isAmong(names, parameter); });
    };
    const auto isSame = [&](const std::vector<Declaration>& declarations) {
        return parameters.empty() || declarations.empty() ||
               std::any_of(declarations.begin(), declarations.end(), takesThem);
    };
    if (const auto found = m_names.find(std::string(entry)); found != m_names.end()) {
        return isSame(found->second) ? EntryFit::same : EntryFit::other;
    }
    const bool isNear = entry.size() >= fewestForNear &&
                        std::any_of(m_names.begin(), m_names.end(), [&](const auto& name) {
                            return editDistance(name.first, entry, 1) <= 1 && isSame(name.second);
                        });
    return isNear ? EntryFit::same : EntryFit::none;
}

} // namespace lumivane::service
