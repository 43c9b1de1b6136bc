#include "accounts/AccountVocabulary.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivane {

namespace {

template <typename Case>
std::vector<QString> rawValues() {
    std::vector<QString> texts;
    for (const Case value : allCases<Case>()) {
        texts.emplace_back(rawValue(value));
    }
    return texts;
}

} // namespace

TEST(AuthProvider, HasThreeCasesInPickerOrder) {
    EXPECT_EQ(rawValues<AuthProvider>(),
              (std::vector<QString>{u"google"_qs, u"facebook"_qs, u"github"_qs}));
    EXPECT_EQ(title(AuthProvider::google), u"Google");
    EXPECT_EQ(title(AuthProvider::facebook), u"Facebook");
    EXPECT_EQ(title(AuthProvider::github), u"GitHub");
}

TEST(AuthProvider, KnowsNoOtherText) {
    for (const QString& text : {u"apple"_qs, u"Google"_qs, u""_qs, u"google "_qs}) {
        EXPECT_FALSE(fromRawValue<AuthProvider>(text)) << text.toStdString();
        EXPECT_THROW(JsonCoding<AuthProvider>::decode(text.toStdString()), DecodingError);
    }
}

TEST(AuthIntent, HasThreeCasesInOrder) {
    EXPECT_EQ(rawValues<AuthIntent>(),
              (std::vector<QString>{u"sign_in"_qs, u"link"_qs, u"delete_reauth"_qs}));
}

TEST(DeviceKind, HasFiveCasesInOrder) {
    EXPECT_EQ(rawValues<DeviceKind>(),
              (std::vector<QString>{u"laptop"_qs, u"desktop"_qs, u"phone"_qs, u"tablet"_qs,
                                    u"unknown"_qs}));
}

TEST(DeviceKind, ReadsItsOwnTextsAndTakesAnyOtherForUnknown) {
    for (const DeviceKind kind : allCases<DeviceKind>()) {
        EXPECT_EQ(JsonCoding<DeviceKind>::decode(JsonCoding<DeviceKind>::encode(kind)), kind);
    }
    for (const char* text : {"watch", "", "Laptop", "laptop ", "\xf0\x9f\x92\xbb"}) {
        EXPECT_EQ(JsonCoding<DeviceKind>::decode(text), DeviceKind::unknown) << text;
    }
}

TEST(DeviceKind, AnythingButATextFails) {
    for (const Json& value : {Json(1), Json(true), Json(nullptr), Json::object(), Json::array()}) {
        EXPECT_THROW(JsonCoding<DeviceKind>::decode(value), DecodingError) << value.dump();
    }
}

} // namespace lumivane
