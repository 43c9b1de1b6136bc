#include "server/configuration/DevelopmentToken.h"

#include <fcntl.h>
#include <openssl/rand.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

namespace lumivane::service {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t tokenBytes = 32;
constexpr std::size_t tokenDigits = 2 * tokenBytes;
constexpr mode_t groupAndOthers = S_IRWXG | S_IRWXO;

class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor) {}

    ~FileDescriptor() {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return m_descriptor; }

    bool isOpen() const { return m_descriptor >= 0; }

private:
    int m_descriptor;
};

[[noreturn]] void fail(const fs::path& path, const std::string& reason) {
    throw TokenError("the token file " + path.string() + " " + reason);
}

[[noreturn]] void failWithErrno(const fs::path& path, const std::string& what) {
    fail(path, what + ": " + std::strerror(errno));
}

std::string makeToken() {
    std::array<unsigned char, tokenBytes> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw TokenError("no random numbers for a new token");
    }
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string token;
    for (const unsigned char byte : bytes) {
        token.push_back(digits[byte >> 4U]);
        token.push_back(digits[byte & 0xFU]);
    }
    return token;
}

void makeFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder.parent_path(), error);
    if (::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST) {
        struct stat facts {};

        if (::stat(folder.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode)) {
            if ((facts.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
                throw TokenError("the data folder " + folder.string() +
                                 " can be written by others; run chmod 700 on it");
            }
            return;
        }
    }
    throw TokenError("the data folder " + folder.string() + " cannot be made or used");
}

void checkFile(const fs::path& path, int descriptor) {
    struct stat facts {};

    if (::fstat(descriptor, &facts) != 0) {
        failWithErrno(path, "cannot be examined");
    }
    if (!S_ISREG(facts.st_mode)) {
        fail(path, "is no regular file");
    }
    if (facts.st_uid != ::geteuid()) {
        fail(path, "belongs to another user");
    }
    if ((facts.st_mode & groupAndOthers) != 0) {
        fail(path, "can be read by others, so its token counts as known; delete it, and the "
                   "service makes a new one");
    }
}

bool isToken(std::string_view text) {
    const auto isDigit = [](char digit) {
        return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f');
    };
    return text.size() == tokenDigits && std::all_of(text.begin(), text.end(), isDigit);
}

// None when there is no file yet.
std::optional<std::string> readToken(const fs::path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.isOpen()) {
        if (errno == ENOENT) {
            return std::nullopt;
        }
        failWithErrno(path, "cannot be opened");
    }
    checkFile(path, file.get());
    std::array<char, tokenDigits + 2> bytes{};
    const ssize_t count = ::read(file.get(), bytes.data(), bytes.size());
    std::string_view text(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    if (text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    if (!isToken(text)) {
        fail(path, "does not hold a token; delete it, and the service makes a new one");
    }
    return std::string(text);
}

void writeToken(const fs::path& path, const std::string& token) {
    const std::string line = token + "\n";
    const FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.isOpen()) {
        failWithErrno(path, "cannot be made");
    }
    const ssize_t written = ::write(file.get(), line.data(), line.size());
    if (written != static_cast<ssize_t>(line.size()) || ::fsync(file.get()) != 0) {
        failWithErrno(path, "cannot be written");
    }
}

} // namespace

std::string loadOrMakeDevelopmentToken(const fs::path& folder) {
    const fs::path path = folder / "development-token";
    makeFolder(folder);
    if (auto token = readToken(path)) {
        return *std::move(token);
    }
    const fs::path draft = path.string() + "." + makeToken().substr(0, 16);
    writeToken(draft, makeToken());
    // A link never replaces what is there, so the first of several starts wins for all.
    const int linked = ::link(draft.c_str(), path.c_str());
    const int reason = errno;
    ::unlink(draft.c_str());
    if (linked != 0 && reason != EEXIST) {
        errno = reason;
        failWithErrno(path, "cannot be made");
    }
    const auto result = readToken(path);
    if (!result) {
        fail(path, "vanished while it was being made");
    }
    return *result;
}

} // namespace lumivane::service
