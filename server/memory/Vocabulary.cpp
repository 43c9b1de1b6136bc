#include "server/memory/Vocabulary.h"

#include "server/memory/FoldedWords.h"

#include <algorithm>

namespace lumivane::service {

namespace {

constexpr std::size_t fewestForNear = 5;
constexpr std::size_t longestForNear = 32;

bool isNearable(std::string_view word) {
    return word.size() >= fewestForNear && word.size() <= longestForNear;
}

std::string without(const std::string& word, std::size_t index) {
    return word.substr(0, index) + word.substr(index + 1);
}

} // namespace

Vocabulary::Id Vocabulary::add(const std::string& word) {
    const auto [entry, isNew] = m_ids.try_emplace(word, m_words.size());
    if (!isNew) {
        return entry->second;
    }
    const Id id = entry->second;
    m_words.push_back(word);
    if (isNearable(word)) {
        m_near[word].push_back(id);
        for (std::size_t index = 0; index < word.size(); ++index) {
            m_near[without(word, index)].push_back(id);
        }
    }
    return id;
}

std::optional<Vocabulary::Id> Vocabulary::findExact(const std::string& word) const {
    const auto found = m_ids.find(word);
    return found == m_ids.end() ? std::nullopt : std::optional(found->second);
}

// Two words that differ in one letter have a common rest once each has lost at most one.
std::optional<Vocabulary::Id> Vocabulary::find(const std::string& word) const {
    auto best = findExact(word);
    if (best || word.size() + 1 < fewestForNear || word.size() > longestForNear) {
        return best;
    }
    best = firstNear(word, word);
    for (std::size_t index = 0; index < word.size(); ++index) {
        const auto found = firstNear(without(word, index), word);
        if (found && (!best || *found < *best)) {
            best = found;
        }
    }
    return best;
}

std::optional<Vocabulary::Id> Vocabulary::firstNear(const std::string& key,
                                                    const std::string& word) const {
    const auto found = m_near.find(key);
    if (found == m_near.end()) {
        return std::nullopt;
    }
    for (const Id id : found->second) {
        if (editDistance(m_words[id], word, 1) <= 1) {
            return id;
        }
    }
    return std::nullopt;
}

} // namespace lumivane::service
