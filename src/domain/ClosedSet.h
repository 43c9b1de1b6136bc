#pragma once

#include <QLatin1String>
#include <QStringView>

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace lumivane {

/// A closed set is an `enum class` whose cases count up from 0, plus one constexpr table in case
/// order that an overload of `closedSetTable` hands out. Each row starts with `value` and
/// `rawValue`, the stable text of storage and wire; further columns are the set's own.
template <typename Case>
concept ClosedSet = requires(Case value) {
    {closedSetTable(value)[0].value};
    {closedSetTable(value)[0].rawValue};
};

/// True when each row stands at the index of its case; every table asserts it.
template <typename Table>
constexpr bool isInCaseOrder(const Table& table) {
    for (std::size_t index = 0; index < table.size(); ++index) {
        if (static_cast<std::size_t>(table[index].value) != index) {
            return false;
        }
    }
    return true;
}

constexpr QLatin1String toLatin1(std::string_view text) {
    return QLatin1String(text.data(), static_cast<qsizetype>(text.size()));
}

/// The row of a case.
template <ClosedSet Case>
constexpr const auto& closedSetRow(Case value) {
    return closedSetTable(value)[static_cast<std::size_t>(value)];
}

template <ClosedSet Case>
constexpr QLatin1String rawValue(Case value) {
    return toLatin1(closedSetRow(value).rawValue);
}

/// A closed set whose table has a `label` column.
template <typename Case>
concept LabelledSet = ClosedSet<Case> && requires(Case value) {
    {closedSetTable(value)[0].label};
};

/// The words of a case on screen.
template <LabelledSet Case>
constexpr QLatin1String label(Case value) {
    return toLatin1(closedSetRow(value).label);
}

/// All cases in the order in which pickers list them.
template <ClosedSet Case>
constexpr auto allCases() {
    constexpr const auto& table = closedSetTable(Case{});
    std::array<Case, table.size()> cases{};
    for (std::size_t index = 0; index < cases.size(); ++index) {
        cases[index] = table[index].value;
    }
    return cases;
}

/// The case of an exact raw text, or none.
template <ClosedSet Case>
std::optional<Case> fromRawValue(QStringView text) {
    for (const auto& row : closedSetTable(Case{})) {
        if (text == toLatin1(row.rawValue)) {
            return row.value;
        }
    }
    return std::nullopt;
}

} // namespace lumivane
