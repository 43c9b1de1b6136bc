#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lumivane::service {

/// The folded words that exercises are told by, found again also when recognition dropped, added
/// or changed one letter of them. Words of less than five letters must be exact: there is hardly
/// one that is not a letter away from another.
class Vocabulary {
public:
    using Id = std::size_t;

    /// The word's number; the same for equal words.
    Id add(const std::string& word);

    /// The exact word, else one that differs in one letter; of several the first that was added.
    std::optional<Id> find(const std::string& word) const;

    std::optional<Id> findExact(const std::string& word) const;

    const std::string& word(Id id) const { return m_words[id]; }

    std::size_t size() const { return m_words.size(); }

private:
    std::optional<Id> firstNear(const std::string& key, const std::string& word) const;

    std::vector<std::string> m_words;
    std::unordered_map<std::string, Id> m_ids;
    std::unordered_map<std::string, std::vector<Id>> m_near; ///< by the word less one letter
};

} // namespace lumivane::service
