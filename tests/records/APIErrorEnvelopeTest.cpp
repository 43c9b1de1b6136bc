#include "records/APIErrorEnvelope.h"

#include <gtest/gtest.h>

namespace lumivane {

namespace {

template <typename Record>
bool fails(QByteArrayView body) {
    try {
        decodeJson<Record>(body);
    } catch (const DecodingError&) {
        return true;
    }
    return false;
}

} // namespace

TEST(APIErrorEnvelopeCoding, ReadsItsDetail) {
    EXPECT_EQ(decodeJson<APIErrorEnvelope>(
                  R"({"error":{"code":"c","message":"m","request_id":"r","more":1},"x":2})"),
              (APIErrorEnvelope{{u"c"_qs, u"m"_qs, u"r"_qs}}));
}

TEST(APIErrorEnvelopeCoding, AllThreeKeysAreRequired) {
    for (const char* body :
         {R"({"error":{"message":"m","request_id":"r"}})",
          R"({"error":{"code":"c","message":"m"}})", R"({"error":{"code":"c","request_id":"r"}})",
          R"({"error":null})", "{}", R"({"error":"m"})",
          R"({"error":{"code":1,"message":"m","request_id":"r"}})",
          R"({"error":{"code":"c","message":"m","request_id":null}})",
          R"({"code":"c","message":"m","request_id":"r"})"}) {
        EXPECT_TRUE(fails<APIErrorEnvelope>(body)) << body;
    }
}

} // namespace lumivane
