#include "domain/StrictJson.h"

#include "domain/Vocabulary.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace lumivane {

using Reason = DecodingError::Reason;

namespace {

/// Why decoding `work` fails; none when it does not.
template <typename Work>
std::optional<Reason> failure(Work work) {
    try {
        work();
    } catch (const DecodingError& error) {
        return error.reason;
    }
    return std::nullopt;
}

std::optional<Reason> parseFailure(QByteArrayView data, JsonLimits limits = {}) {
    return failure([&] { parseJson(data, limits); });
}

template <typename Value>
Value read(QByteArrayView object, std::string_view key = "a") {
    const Json json = parseJson(object);
    return JsonObjectReader(json).required<Value>(key);
}

template <typename Value>
std::optional<Reason> readFailure(QByteArrayView object, std::string_view key = "a") {
    return failure([&] { read<Value>(object, key); });
}

template <typename Value>
std::optional<Value> readOptional(QByteArrayView object, std::string_view key = "a") {
    const Json json = parseJson(object);
    return JsonObjectReader(json).optional<Value>(key);
}

QByteArray nested(int depth) { return QByteArray(depth, '[') + QByteArray(depth, ']'); }

struct Pair {
    QString name;
    std::optional<std::int64_t> count;

    bool operator==(const Pair&) const = default;
};

} // namespace

template <>
struct JsonCoding<Pair> {
    static Pair decode(const Json& value) {
        const JsonObjectReader reader(value);
        return {.name = reader.required<QString>("name"),
                .count = reader.optional<std::int64_t>("count")};
    }

    static Json encode(const Pair& pair) {
        return JsonObjectWriter()
            .write("name", pair.name)
            .writeIfPresent("count", pair.count)
            .take();
    }
};

TEST(StrictJsonParse, TakesOneTextAndKeepsTheOrderOfKeys) {
    EXPECT_EQ(writeJson(parseJson(R"( { "z" : [1, -2, 2.5, true, null], "a" : {"" : "x"} } )")),
              R"({"z":[1,-2,2.5,true,null],"a":{"":"x"}})");
    EXPECT_EQ(writeJson(parseJson("7")), "7");
}

TEST(StrictJsonParse, RefusesWhatIsNotExactlyOneText) {
    for (const char* text : {"",    " ",       "{",     "[1,]",       "{\"a\":1}{", "{} x", "{}{}",
                             "nul", "{'a':1}", "[1] ]", "{\"a\":1,}", "{\"a\"}",    "NaN",  "01",
                             "+1",  "1.",      "\"a",   "\"\t\"",     "// c\n1",    "1e999"}) {
        EXPECT_EQ(parseFailure(text), Reason::malformed) << text;
    }
    EXPECT_EQ(parseFailure(QByteArrayView("{}\0", 3)), Reason::malformed);
    EXPECT_EQ(parseFailure(QByteArrayView("{}\0{", 4)), Reason::malformed);
}

TEST(StrictJsonParse, RefusesTextThatIsNotUtf8) {
    for (const char* text : {"\"\xff\"", "\"\xc0\xaf\"", "\"\xed\xa0\x80\"", "\"\xf4\x90\x80\x80\"",
                             "\"\xe2\x82\"", R"("\ud800")", R"("\udc00 ")"}) {
        EXPECT_EQ(parseFailure(text), Reason::malformed) << text;
    }
    EXPECT_EQ(JsonCoding<QString>::decode(parseJson(R"("\ud83d\ude00 é 漢")")), u"😀 é 漢"_qs);
}

TEST(StrictJsonParse, BoundsTheBytes) {
    EXPECT_EQ(parseFailure("[10]", {.maximumBytes = 4}), std::nullopt);
    EXPECT_EQ(parseFailure("[100]", {.maximumBytes = 4}), Reason::tooLarge);
}

TEST(StrictJsonParse, BoundsTheDepthWhileReading) {
    EXPECT_EQ(parseFailure(nested(32)), std::nullopt);
    EXPECT_EQ(parseFailure(nested(33)), Reason::tooDeep);
    EXPECT_EQ(parseFailure(R"({"a":{"b":{}}})", {.maximumDepth = 3}), std::nullopt);
    EXPECT_EQ(parseFailure(R"({"a":{"b":{}}})", {.maximumDepth = 2}), Reason::tooDeep);
    EXPECT_EQ(parseFailure("7", {.maximumDepth = 0}), std::nullopt);
    // Told before the end of the text is looked at, so nothing of the rest is built.
    EXPECT_EQ(parseFailure(QByteArray(2'000'000, '[')), Reason::tooDeep);
    EXPECT_EQ(parseFailure(QByteArray("{\"a\":").repeated(200'000)), Reason::tooDeep);
}

TEST(StrictJsonParse, DepthIsThatOfOpenContainersOnly) {
    const QByteArray wide = "[" + QByteArray("[[]],").repeated(1000) + "[]]";
    EXPECT_EQ(parseFailure(wide, {.maximumDepth = 3}), std::nullopt);
}

TEST(StrictJsonParse, ManyKeysTakeLinearTime) {
    QByteArray text = "{";
    for (int index = 0; index < 300'000; ++index) {
        text += '"' + QByteArray::number(index) + "\":1,";
    }
    text += "\"result\":\"found\"}";
    ASSERT_LT(text.size(), JsonLimits().maximumBytes);
    // A quadratic reader needs minutes here, which the limit on this test's time shows.
    EXPECT_EQ(read<QString>(text, "result"), u"found"_qs);
}

TEST(StrictJsonParse, ManyValuesAreReadWhole) {
    const Json json = parseJson("[" + QByteArray("\"word\",").repeated(500'000) + "1]");
    EXPECT_EQ(json.size(), 500'001U);
    EXPECT_EQ(json.back().get<int>(), 1);
}

TEST(JsonObjectReader, WantsAnObject) {
    for (const char* text : {"[]", "1", "\"a\"", "null", "true"}) {
        const Json json = parseJson(text);
        EXPECT_EQ(failure([&] { const JsonObjectReader reader(json); }), Reason::wrongType) << text;
    }
}

TEST(JsonObjectReader, ReadsEveryKindOfField) {
    EXPECT_EQ(read<QString>(R"({"a":""})"), u""_qs);
    EXPECT_EQ(read<QString>(R"({"a":" x\u0000y\n"})"), QString::fromUtf8(" x\0y\n", 5));
    EXPECT_TRUE(read<bool>(R"({"a":true})"));
    EXPECT_FALSE(read<bool>(R"({"a":false})"));
    EXPECT_EQ(read<std::int64_t>(R"({"a":-3})"), -3);
    EXPECT_EQ(read<double>(R"({"a":0.25})"), 0.25);
    EXPECT_EQ(read<Preset>(R"({"a":"leetcode"})"), Preset::leetCode);
    EXPECT_EQ(read<std::vector<QString>>(R"({"a":["x","y"]})"),
              (std::vector<QString>{u"x"_qs, u"y"_qs}));
    EXPECT_EQ(read<Pair>(R"({"a":{"name":"n"}})"), (Pair{u"n"_qs, std::nullopt}));
    EXPECT_EQ(read<std::vector<Pair>>(R"({"a":[{"name":"n","count":1}]})"),
              (std::vector<Pair>{{u"n"_qs, 1}}));
}

TEST(JsonObjectReader, RefusesTheWrongType) {
    for (const char* text : {R"({"a":1})", R"({"a":true})", R"({"a":[]})", R"({"a":{}})"}) {
        EXPECT_EQ(readFailure<QString>(text), Reason::wrongType) << text;
        EXPECT_EQ(readFailure<Preset>(text), Reason::wrongType) << text;
    }
    EXPECT_EQ(readFailure<std::vector<QString>>(R"({"a":{}})"), Reason::wrongType);
    EXPECT_EQ(readFailure<std::vector<QString>>(R"({"a":["x",1]})"), Reason::wrongType);
    EXPECT_EQ(readFailure<std::vector<QString>>(R"({"a":["x",null]})"), Reason::wrongType);
    EXPECT_EQ(readFailure<Pair>(R"({"a":["name"]})"), Reason::wrongType);
}

TEST(JsonObjectReader, ANumberIsNoBooleanAndABooleanNoNumber) {
    for (const char* text : {R"({"a":0})", R"({"a":1})", R"({"a":1.0})", R"({"a":"true"})"}) {
        EXPECT_EQ(readFailure<bool>(text), Reason::wrongType) << text;
    }
    for (const char* text : {R"({"a":true})", R"({"a":false})", R"({"a":"1"})"}) {
        EXPECT_EQ(readFailure<std::int64_t>(text), Reason::wrongType) << text;
        EXPECT_EQ(readFailure<double>(text), Reason::wrongType) << text;
    }
}

TEST(JsonObjectReader, AnIntegerHasNoFraction) {
    EXPECT_EQ(readFailure<std::int64_t>(R"({"a":1.5})"), Reason::wrongType);
    EXPECT_EQ(readFailure<std::int64_t>(R"({"a":1e-3})"), Reason::wrongType);
    EXPECT_EQ(read<std::int64_t>(R"({"a":1.0})"), 1);
    EXPECT_EQ(read<std::int64_t>(R"({"a":-1e3})"), -1000);
}

TEST(JsonObjectReader, AnIntegerFitsItsField) {
    EXPECT_EQ(read<std::int64_t>(R"({"a":9223372036854775807})"),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(read<std::int64_t>(R"({"a":-9223372036854775808})"),
              std::numeric_limits<std::int64_t>::min());
    for (const char* text : {R"({"a":9223372036854775808})", R"({"a":18446744073709551616})",
                             R"({"a":-9223372036854775809})", R"({"a":1e300})"}) {
        EXPECT_EQ(readFailure<std::int64_t>(text), Reason::outOfRange) << text;
    }
}

TEST(JsonObjectReader, AFractionalFieldTakesWholeNumbers) {
    EXPECT_EQ(read<double>(R"({"a":6})"), 6.0);
    EXPECT_EQ(read<double>(R"({"a":-6})"), -6.0);
    EXPECT_EQ(read<double>(R"({"a":18446744073709551615})"), 18446744073709551615.0);
}

TEST(JsonObjectReader, ARequiredFieldIsThereAndNotNull) {
    EXPECT_EQ(readFailure<QString>("{}"), Reason::missing);
    EXPECT_EQ(readFailure<QString>(R"({"A":"x"})"), Reason::missing);
    EXPECT_EQ(readFailure<QString>(R"({"a":null})"), Reason::missing);
}

TEST(JsonObjectReader, AnOptionalFieldMayBeAbsentOrNullButNotWrong) {
    EXPECT_EQ(readOptional<QString>("{}"), std::nullopt);
    EXPECT_EQ(readOptional<QString>(R"({"a":null})"), std::nullopt);
    EXPECT_EQ(readOptional<QString>(R"({"a":""})"), u""_qs);
    EXPECT_EQ(readOptional<bool>(R"({"a":false})"), false);
    EXPECT_EQ(failure([] { readOptional<bool>(R"({"a":0})"); }), Reason::wrongType);
    EXPECT_EQ(failure([] { readOptional<Preset>(R"({"a":"x"})"); }), Reason::unknownValue);
}

TEST(JsonObjectReader, AClosedSetTakesItsExactRawTexts) {
    for (const char* text : {R"({"a":"leetCode"})", R"({"a":"LEETCODE"})", R"({"a":""})",
                             R"({"a":"leetcode "})", R"({"a":"interview"})"}) {
        EXPECT_EQ(readFailure<Preset>(text), Reason::unknownValue) << text;
    }
}

TEST(JsonObjectReader, IgnoresExtraKeysEvenRepeatedOnes) {
    EXPECT_EQ(read<QString>(R"({"b":1,"a":"x","c":{"d":[]},"b":2})"), u"x"_qs);
}

TEST(JsonObjectReader, RefusesARepeatedKeyThatItReads) {
    EXPECT_EQ(readFailure<QString>(R"({"a":"x","a":"y"})"), Reason::duplicate);
    EXPECT_EQ(readFailure<QString>(R"({"a":null,"a":"y"})"), Reason::duplicate);
}

TEST(JsonObjectWriter, WritesKeysInTheOrderOfTheCallsAndLeavesAbsentOnesOut) {
    const Json json = JsonObjectWriter()
                          .write("z", QString())
                          .write("b", true)
                          .writeIfPresent("n", std::optional<std::int64_t>())
                          .writeIfPresent("m", std::optional<std::int64_t>(0))
                          .write("a", 0.5)
                          .write("p", Preset::mcq)
                          .write("l", std::vector<QString>{u"x"_qs})
                          .take();
    EXPECT_EQ(writeJson(json), R"({"z":"","b":true,"m":0,"a":0.5,"p":"mcq","l":["x"]})");
}

TEST(JsonObjectWriter, EscapesOnlyWhatJsonDemands) {
    const QString text = QString::fromUtf8("\"\\/\b\n\x01 é漢😀\x7f");
    EXPECT_EQ(writeJson(JsonCoding<QString>::encode(text)), "\"\\\"\\\\/\\b\\n\\u0001 é漢😀\x7f\"");
}

TEST(JsonObjectWriter, ABrokenTextBecomesValidUtf8) {
    QString text = u"a"_qs;
    text += QChar(0xd800);
    text += u'b';
    const QByteArray written = writeJson(JsonCoding<QString>::encode(text));
    const QString readBack = JsonCoding<QString>::decode(parseJson(written));
    EXPECT_EQ(readBack.size(), 3);
    EXPECT_TRUE(readBack.startsWith(u'a') && readBack.endsWith(u'b'));
}

TEST(JsonObjectWriter, AFloatingNumberHasTheFewestDigitsThatReadBackTheSame) {
    EXPECT_EQ(writeJson(54.399999999999046), "54.39999999999905");
    EXPECT_EQ(writeJson(-0.1), "-0.1");
    EXPECT_EQ(writeJson(6.0), "6.0");
    EXPECT_EQ(writeJson(-0.0), "-0.0");
    EXPECT_EQ(writeJson(1e300), "1e+300");
    EXPECT_EQ(writeJson(std::numeric_limits<double>::denorm_min()), "5e-324");
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> number(-100, 100);
    for (int round = 0; round < 10'000; ++round) {
        const double value = number(random);
        ASSERT_EQ(parseJson(writeJson(value)).get<double>(), value);
    }
}

TEST(JsonObjectWriter, EmptyContainersAndNestedOnesAreWrittenWhole) {
    const QByteArray text = R"({"a":{},"b":[],"c":[[],{"d\"":[1.5,{"e":null}]},false]})";
    EXPECT_EQ(writeJson(parseJson(text)), text);
}

TEST(JsonObjectWriter, ANumberThatIsNotFiniteCannotBeWritten) {
    for (const double value : {std::nan(""), std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()}) {
        EXPECT_THROW(JsonCoding<double>::encode(value), EncodingError);
    }
}

TEST(StrictJsonRecord, GoesToBytesAndBack) {
    const Pair pair{u"n \"x\""_qs, 12};
    EXPECT_EQ(encodeJson(pair), R"({"name":"n \"x\"","count":12})");
    EXPECT_EQ(decodeJson<Pair>(encodeJson(pair)), pair);
    EXPECT_EQ(encodeJson(Pair{u"n"_qs, std::nullopt}), R"({"name":"n"})");
}

TEST(StrictJsonRecord, AnErrorNeverQuotesTheData) {
    try {
        decodeJson<Pair>(R"({"name":"CANARY","count":"CANARY"})");
        FAIL() << "a text is no count";
    } catch (const DecodingError& error) {
        EXPECT_EQ(std::string_view(error.what()).find("CANARY"), std::string_view::npos);
    }
}

} // namespace lumivane
