#include "accounts/InternetTimestamp.h"

#include <QRegularExpression>

namespace lumivane {

namespace {

constexpr int lastYear = 9999;

int number(const QRegularExpressionMatch& match, QStringView name) {
    return match.capturedView(name).toInt();
}

std::optional<qint64> offsetSeconds(const QRegularExpressionMatch& match) {
    if (match.capturedView(u"sign").isEmpty()) {
        return 0;
    }
    const QTime offset(number(match, u"offsetHour"), number(match, u"offsetMinute"));
    if (!offset.isValid()) {
        return std::nullopt;
    }
    const qint64 seconds = offset.msecsSinceStartOfDay() / 1000;
    return match.capturedView(u"sign") == u"-" ? -seconds : seconds;
}

bool isWritable(const QDateTime& date) {
    const int year = date.date().year();
    return date.isValid() && year >= 1 && year <= lastYear;
}

std::optional<QDateTime> dateOf(const QRegularExpressionMatch& match) {
    const QDate day(number(match, u"year"), number(match, u"month"), number(match, u"day"));
    const QString milliseconds = match.captured(u"fraction").leftJustified(3, u'0', true);
    const QTime time(number(match, u"hour"), number(match, u"minute"), number(match, u"second"),
                     milliseconds.toInt());
    const auto offset = offsetSeconds(match);
    if (!day.isValid() || !time.isValid() || !offset) {
        return std::nullopt;
    }
    const QDateTime date = QDateTime(day, time, Qt::UTC).addSecs(-*offset);
    return isWritable(date) ? std::optional(date) : std::nullopt;
}

QString written(const QDateTime& date, QStringView format) {
    const QDateTime utc = date.toUTC();
    if (!isWritable(utc)) {
        throw EncodingError();
    }
    return utc.toString(format);
}

} // namespace

std::optional<QDateTime> InternetTimestamp::read(QStringView text) {
    // The toolkit's own reader takes hour 24, lower-case letters, blanks and dates alone.
    static const QRegularExpression form(
        u"\\A(?<year>[0-9]{4})-(?<month>[0-9]{2})-(?<day>[0-9]{2})"
        "T(?<hour>[0-9]{2}):(?<minute>[0-9]{2}):(?<second>[0-9]{2})(?:\\.(?<fraction>[0-9]{1,9}))?"
        "(?:Z|(?<sign>[+-])(?<offsetHour>[0-9]{2}):(?<offsetMinute>[0-9]{2}))\\z"_qs);
    const QRegularExpressionMatch match = form.match(text);
    return match.hasMatch() ? dateOf(match) : std::nullopt;
}

std::optional<QDateTime> InternetTimestamp::readPlain(QStringView text) {
    return text.contains(u'.') ? std::nullopt : read(text);
}

QString InternetTimestamp::write(const QDateTime& date) {
    return written(date, u"yyyy-MM-dd'T'HH:mm:ss.zzz'Z'");
}

QString InternetTimestamp::writePlain(const QDateTime& date) {
    return written(date, u"yyyy-MM-dd'T'HH:mm:ss'Z'");
}

} // namespace lumivane
