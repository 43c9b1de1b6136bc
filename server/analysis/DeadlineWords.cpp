#include "server/analysis/DeadlineWords.h"

#include <algorithm>
#include <array>

namespace lumivane::service {

namespace {

using std::string_view_literals::operator""sv;

constexpr std::size_t reach = 4; // words between a cue and its moment, articles and the like

constexpr std::array dayWords{
    "monday"sv,       "tuesday"sv,      "wednesday"sv,   "thursday"sv,      "friday"sv,
    "saturday"sv,     "sunday"sv,       "mon"sv,         "tue"sv,           "wed"sv,
    "thu"sv,          "fri"sv,          "today"sv,       "tomorrow"sv,      "tonight"sv,
    "midnight"sv,     "noon"sv,         "eod"sv,         "montag"sv,        "dienstag"sv,
    "mittwoch"sv,     "donnerstag"sv,   "freitag"sv,     "samstag"sv,       "sonntag"sv,
    "heute"sv,        "morgen"sv,       "lundi"sv,       "mardi"sv,         "mercredi"sv,
    "jeudi"sv,        "vendredi"sv,     "samedi"sv,      "dimanche"sv,      "demain"sv,
    "lunes"sv,        "martes"sv,       "miércoles"sv,   "jueves"sv,        "viernes"sv,
    "sábado"sv,       "domingo"sv,      "mañana"sv,      "lunedì"sv,        "martedì"sv,
    "mercoledì"sv,    "giovedì"sv,      "venerdì"sv,     "sabato"sv,        "domenica"sv,
    "domani"sv,       "maandag"sv,      "dinsdag"sv,     "woensdag"sv,      "donderdag"sv,
    "vrijdag"sv,      "zaterdag"sv,     "zondag"sv,      "segunda-feira"sv, "terça-feira"sv,
    "quarta-feira"sv, "quinta-feira"sv, "sexta-feira"sv, "amanhã"sv,        "понедельника"sv,
    "вторника"sv,     "среды"sv,        "четверга"sv,    "пятницы"sv,       "субботы"sv,
    "воскресенья"sv,  "завтра"sv,       "сегодня"sv,
};

constexpr std::array monthWords{
    "january"sv,   "february"sv,  "march"sv,     "april"sv,      "may"sv,      "june"sv,
    "july"sv,      "august"sv,    "september"sv, "october"sv,    "november"sv, "december"sv,
    "jan"sv,       "feb"sv,       "mar"sv,       "apr"sv,        "jun"sv,      "jul"sv,
    "aug"sv,       "sep"sv,       "sept"sv,      "oct"sv,        "nov"sv,      "dec"sv,
    "januar"sv,    "februar"sv,   "märz"sv,      "mai"sv,        "juni"sv,     "juli"sv,
    "oktober"sv,   "dezember"sv,  "janvier"sv,   "février"sv,    "mars"sv,     "avril"sv,
    "juin"sv,      "juillet"sv,   "août"sv,      "septembre"sv,  "octobre"sv,  "novembre"sv,
    "décembre"sv,  "enero"sv,     "febrero"sv,   "marzo"sv,      "abril"sv,    "mayo"sv,
    "junio"sv,     "julio"sv,     "agosto"sv,    "septiembre"sv, "octubre"sv,  "noviembre"sv,
    "diciembre"sv, "gennaio"sv,   "febbraio"sv,  "aprile"sv,     "maggio"sv,   "giugno"sv,
    "luglio"sv,    "settembre"sv, "ottobre"sv,   "dicembre"sv,   "janeiro"sv,  "fevereiro"sv,
    "março"sv,     "maio"sv,      "junho"sv,     "julho"sv,      "setembro"sv, "outubro"sv,
    "novembro"sv,  "dezembro"sv,  "января"sv,    "февраля"sv,    "марта"sv,    "апреля"sv,
    "мая"sv,       "июня"sv,      "июля"sv,      "августа"sv,    "сентября"sv, "октября"sv,
    "ноября"sv,    "декабря"sv,
};

// Directly before a moment but for connecting words: "by Friday", "bis zum 4. Mai". Farther off
// they mean something else, as in "written by Anna on Tuesday".
constexpr std::array tightCues{
    "by"sv,    "until"sv, "till"sv,  "before"sv,   "than"sv,     "ends"sv, "closes"sv,
    "bis"sv,   "vor"sv,   "avant"sv, "hasta"sv,    "antes"sv,    "até"sv,  "до"sv,
    "entro"sv, "fino"sv,  "voor"sv,  "jusqu'au"sv, "jusqu’au"sv,
};

constexpr std::array connectors{
    "the"sv, "this"sv,  "next"sv,   "coming"sv, "end"sv, "of"sv, "close"sv, "start"sv, "at"sv,
    "on"sv,  "about"sv, "around"sv, "zum"sv,    "zur"sv, "am"sv, "den"sv,   "dem"sv,   "der"sv,
    "le"sv,  "la"sv,    "el"sv,     "al"sv,     "de"sv,  "du"sv, "del"sv,   "il"sv,    "het"sv,
};

// Before a moment within reach: "due on or around 3 March", "submit the form on Friday".
constexpr std::array leadingCues{
    "due"sv,    "expires"sv, "expire"sv,     "latest"sv,    "rsvp"sv,
    "submit"sv, "fällig"sv,  "spätestens"sv, "uiterlijk"sv,
};

// Anywhere in a sentence that names a moment.
constexpr std::array namingCues{
    "deadline"sv, "deadlines"sv, "cutoff"sv, "cut-off"sv,  "overdue"sv, "frist"sv,
    "abgabe"sv,   "échéance"sv,  "plazo"sv,  "scadenza"sv, "due"sv,
};

template <std::size_t count>
bool isIn(const std::array<std::string_view, count>& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isNumber(std::string_view text, std::size_t fewest, std::size_t most) {
    return text.size() >= fewest && text.size() <= most &&
           std::all_of(text.begin(), text.end(), isDigit);
}

// "14", "14th", "1st": a day of a month as a date writes it.
bool isDayNumber(std::string_view word) {
    for (const auto ending : {"st"sv, "nd"sv, "rd"sv, "th"sv}) {
        if (word.ends_with(ending)) {
            word.remove_suffix(ending.size());
            break;
        }
    }
    return isNumber(word, 1, 2) && word != "0" && (word.size() == 1 || word <= "31");
}

// Digits in groups: "2026-03-14", "14.3.2026", "14/03", "14:30", "14:30:05".
bool isGroupedMoment(std::string_view word) {
    const auto separator = std::find_if_not(word.begin(), word.end(), isDigit);
    if (separator == word.end()) {
        return false;
    }
    std::array<std::string_view, 3> groups{};
    std::size_t count = 0;
    while (count < groups.size()) {
        const auto end = word.find(*separator);
        groups[count++] = word.substr(0, end);
        if (end == std::string_view::npos) {
            word = {};
            break;
        }
        word.remove_prefix(end + 1);
    }
    const auto shortGroup = [](std::string_view group) { return isNumber(group, 1, 2); };
    if (!word.empty() || !isNumber(groups[0], 1, 4)) {
        return false;
    }
    if (*separator == ':') {
        return shortGroup(groups[0]) && isNumber(groups[1], 2, 2) && groups[0] <= "29";
    }
    const bool isDate = *separator == '-' || *separator == '/' || *separator == '.';
    if (!isDate || !shortGroup(groups[1])) {
        return false;
    }
    if (count == 3) {
        return isNumber(groups[2], 1, 4) && (isNumber(groups[0], 4, 4) || shortGroup(groups[0]));
    }
    // "3.5" and "1-2" are no dates; "14/03" is one.
    return *separator == '/' && isDayNumber(groups[0]) && groups[1].size() == 2;
}

// "5pm", "11.30am", "17h", "17h30".
bool isClockWord(std::string_view word) {
    if (word.empty() || !isDigit(word.front())) {
        return false;
    }
    const auto unit = word.find_first_not_of("0123456789.:");
    if (unit == std::string_view::npos) {
        return false;
    }
    const std::string_view ending = word.substr(unit);
    const bool isHour =
        ending.front() == 'h' && (ending.size() == 1 || isNumber(ending.substr(1), 2, 2));
    return unit <= 5 && (ending == "am" || ending == "pm" || isHour);
}

bool isDayHalf(std::string_view word) {
    return word == "am" || word == "pm" || word == "a.m" || word == "p.m" || word == "uhr" ||
           word == "o'clock" || word == "o’clock";
}

// "3月14日", "14日": the scripts without blanks hand over whole phrases as one word.
bool holdsIdeographicDate(std::string_view word) {
    for (const auto mark : {"月"sv, "日"sv, "曜"sv, "월"sv, "일까지"sv}) {
        const auto at = word.find(mark);
        if (at != std::string_view::npos && at > 0 && isDigit(word[at - 1])) {
            return true;
        }
    }
    return false;
}

bool holdsIdeographicCue(std::string_view word) {
    for (const auto cue :
         {"まで"sv, "締切"sv, "締め切り"sv, "截止"sv, "之前"sv, "까지"sv, "마감"sv}) {
        if (word.find(cue) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

bool isEndOfSpan(const std::vector<std::string>& words, std::size_t index) {
    static constexpr std::array spans{"day"sv, "week"sv, "month"sv, "quarter"sv, "year"sv};
    if (index < 2 || !isIn(spans, words[index])) {
        return false;
    }
    const bool hasArticle = words[index - 1] == "the" || words[index - 1] == "this";
    const std::size_t of = hasArticle ? index - 2 : index - 1;
    return of >= 1 && words[of] == "of" && words[of - 1] == "end";
}

bool isMomentAt(const std::vector<std::string>& words, std::size_t index) {
    const std::string_view next = index + 1 < words.size() ? words[index + 1] : std::string_view{};
    return isMoment(words[index], next) || isEndOfSpan(words, index);
}

// "14th" says which day only where something is due: elsewhere it counts other things.
bool isOrdinalDay(std::string_view word) {
    return isDayNumber(word) && word.size() > 2 && !isDigit(word.back());
}

} // namespace

bool isMoment(std::string_view word, std::string_view next) {
    if (isIn(dayWords, word) || isGroupedMoment(word) || isClockWord(word) ||
        holdsIdeographicDate(word)) {
        return true;
    }
    if (isIn(monthWords, word)) {
        return isDayNumber(next) || isNumber(next, 4, 4);
    }
    if (isDayNumber(word)) {
        return isIn(monthWords, next) || isDayHalf(next);
    }
    return false;
}

TimeMention timeMention(const std::vector<std::string>& words) {
    bool hasMoment = false;
    bool hasNamingCue = false;
    bool isAfterTightCue = false;
    std::size_t sinceCue = reach + 1;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const std::string& word = words[index];
        const bool isAfterCue = isAfterTightCue || sinceCue <= reach;
        const bool isHere = isMomentAt(words, index);
        if ((isAfterCue && (isHere || isOrdinalDay(word))) ||
            (isHere && holdsIdeographicCue(word))) {
            return TimeMention::deadline;
        }
        hasMoment = hasMoment || isHere;
        hasNamingCue = hasNamingCue || isIn(namingCues, word);
        isAfterTightCue = isIn(tightCues, word) || (isAfterTightCue && isIn(connectors, word));
        sinceCue = isIn(leadingCues, word) ? 0 : sinceCue + 1;
    }
    if (hasMoment && hasNamingCue) {
        return TimeMention::deadline;
    }
    return hasMoment ? TimeMention::moment : TimeMention::none;
}

std::vector<std::string> momentNames(const std::vector<std::string>& words) {
    std::vector<std::string> names;
    const auto add = [&names](const std::string& word) {
        if (std::none_of(word.begin(), word.end(), isDigit)) {
            names.push_back(word);
        }
    };
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (!isMomentAt(words, index)) {
            continue;
        }
        add(words[index]);
        const bool hasNext = index + 1 < words.size();
        if (hasNext && (isIn(monthWords, words[index + 1]) || isDayHalf(words[index + 1]))) {
            add(words[index + 1]);
        }
    }
    return names;
}

std::size_t countMomentWords(const std::vector<std::string>& words) {
    std::size_t count = 0;
    for (std::size_t index = 0; index < words.size(); ++index) {
        const bool isPart = isMomentAt(words, index) || isIn(monthWords, words[index]) ||
                            isNumber(words[index], 1, 4) || isDayHalf(words[index]);
        count += isPart ? 1 : 0;
    }
    return count;
}

} // namespace lumivane::service
