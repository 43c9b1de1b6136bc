#pragma once

#include <QString>

/// What panels have to show: the usual, and what tends to break a layout.
namespace lumivane::tools::SampleTexts {

QString summary();
QString numberedAnswers();
QString error();

/// A worked answer in Markdown, with every kind of line that its panel knows.
QString solution();

/// The same over and over, to at least `characters`.
QString longSolution(int characters);

QString errorOfLength(int characters);

/// One word without a place to break.
QString longWord();

QString hebrew();
QString arabic();
QString chinese();
QString japanese();
QString mixedDirections();

/// Plain, joined, with skin tones, flags and key caps.
QString emoji();

/// Text that must be shown as it stands.
QString markup();

/// Blank lines, tabs, trailing blanks and every kind of line end.
QString oddWhiteSpace();

QString longTitle(int characters);
QString longNotesMessage();

} // namespace lumivane::tools::SampleTexts
