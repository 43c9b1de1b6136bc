#pragma once

#include <QStringList>

namespace lumivane::test {

/// What the fakes were asked to do, in order, over all of them.
class Journal {
public:
    void add(const QString& entry) { m_entries.append(entry); }

    const QStringList& entries() const { return m_entries; }

    bool holds(const QString& entry) const { return m_entries.contains(entry); }

    qsizetype count(const QString& entry) const { return m_entries.count(entry); }

    void clear() { m_entries.clear(); }

private:
    QStringList m_entries;
};

} // namespace lumivane::test
