#include "server/memory/MemoryFormat.h"

#include "server/memory/FoldedWords.h"

#include <openssl/evp.h>

#include <array>
#include <memory>
#include <stdexcept>

namespace lumivane::service::memoryFormat {

namespace {

using Context = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

void require(int result) {
    if (result != 1) {
        throw std::runtime_error("a digest cannot be computed");
    }
}

void update(const Context& context, std::string_view text) {
    // The length first, so that no two lists of texts run into the same bytes.
    const std::string size = std::to_string(text.size()) + ":";
    require(EVP_DigestUpdate(context.get(), size.data(), size.size()));
    require(EVP_DigestUpdate(context.get(), text.data(), text.size()));
}

} // namespace

std::string digestOf(const std::vector<Row>& rows) {
    static constexpr char digits[] = "0123456789abcdef";
    const Context context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    require(EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr));
    for (const Row& row : rows) {
        for (const std::string* text : {&row.title, &row.signs, &row.answer, &row.words}) {
            update(context, *text);
        }
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned int size = 0;
    require(EVP_DigestFinal_ex(context.get(), bytes.data(), &size));
    std::string text;
    for (unsigned int index = 0; index < size; ++index) {
        text += {digits[bytes[index] >> 4U], digits[bytes[index] & 0xFU]};
    }
    return text;
}

std::string searchWords(std::string_view text) {
    std::string joined;
    for (const std::string& word : foldedWordsOf(text)) {
        joined.append(joined.empty() ? "" : " ").append(word);
    }
    return joined;
}

} // namespace lumivane::service::memoryFormat
