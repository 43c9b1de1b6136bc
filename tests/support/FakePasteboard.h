#pragma once

#include "platform/LumivanePasteboard.h"
#include "support/Journal.h"

#include <map>

namespace lumivane::test {

class FakePasteboard final : public LumivanePasteboard {
public:
    explicit FakePasteboard(Journal& journal)
        : m_journal(journal) {}

    std::int64_t changeCount() const override { return count; }

    void clear() override {
        m_journal.add(u"clearPasteboard"_qs);
        contents.clear();
        ++count;
    }

    void setString(const QString& text, PasteboardType type) override {
        m_journal.add(type == PasteboardType::string ? u"setString"_qs : u"setTransient"_qs);
        contents[type] = text;
        ++count;
    }

    /// Somebody else copies.
    void copyElsewhere(const QString& text) {
        contents = {{PasteboardType::string, text}};
        ++count;
    }

    std::map<PasteboardType, QString> contents;
    std::int64_t count = 40;

private:
    Journal& m_journal;
};

} // namespace lumivane::test
