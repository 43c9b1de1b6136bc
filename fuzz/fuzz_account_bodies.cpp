#include "server/accounts/AccountError.h"
#include "server/accounts/BodyFields.h"
#include "server/accounts/SessionRecords.h"
#include "server/login/LoginRequests.h"
#include "server/profile/ProfileRecords.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace lumivane::service;

namespace {

/// Every body is either taken or refused with an answer.
template <typename Decode>
void judge(Decode decode, std::string_view body) {
    try {
        decode(body);
    } catch (const AccountError& error) {
        const int status = error.refusal().status;
        if (status < 400 || status > 499) {
            std::abort();
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    judge([](std::string_view text) { decodeRefreshRequest(text); }, body);
    judge([](std::string_view text) { decodeRevocation(text); }, body);
    judge([](std::string_view text) { decodeTakeover(text); }, body);
    judge([](std::string_view text) { decodeProfileChange(text); }, body);
    judge([](std::string_view text) { decodeHandleQuestion(text); }, body);
    judge([](std::string_view text) { decodeTransactionRequest(text); }, body);
    judge([](std::string_view text) { decodeCompleteRequest(text); }, body);
    judge([](std::string_view text) { decodeDeleteRequest(text); }, body);
    return 0;
}
