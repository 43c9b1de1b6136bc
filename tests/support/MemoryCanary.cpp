#include "support/MemoryCanary.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

namespace lumivane::test {

namespace {

constexpr int length = 96;
constexpr int middleStart = 32;
constexpr int middleLength = 24;
constexpr unsigned char mask = 0xA5;
constexpr std::size_t pieceSize = std::size_t{1} << 20U;
constexpr std::uint64_t longestRegion = std::uint64_t{1} << 29U; // a sanitizer's own are longer

/// Memory that is looked into piece by piece, and is no part of what is looked at.
class Piece {
public:
    Piece()
        : m_bytes(static_cast<unsigned char*>(::mmap(nullptr, pieceSize, PROT_READ | PROT_WRITE,
                                                     MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
        if (m_bytes == MAP_FAILED) {
            throw std::runtime_error("no memory to look into memory");
        }
    }

    ~Piece() { ::munmap(m_bytes, pieceSize); }

    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

    /// How much of it could be read.
    std::size_t read(int memory, std::uint64_t begin, std::uint64_t end) {
        const std::size_t size = std::min<std::uint64_t>(pieceSize, end - begin);
        const ssize_t count = ::pread(memory, m_bytes, size, static_cast<off_t>(begin));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

    bool holds(const QByteArray& masked, std::size_t size) const {
        const auto first = static_cast<unsigned char>(masked[0]) ^ mask;
        const unsigned char* at = m_bytes;
        const unsigned char* const end = m_bytes + size;
        while (at < end) {
            at = static_cast<const unsigned char*>(
                std::memchr(at, first, static_cast<std::size_t>(end - at)));
            if (at == nullptr || end - at < masked.size()) {
                return false;
            }
            qsizetype same = 1;
            while (same < masked.size() &&
                   (at[same] ^ mask) == static_cast<unsigned char>(masked[same])) {
                ++same;
            }
            if (same == masked.size()) {
                return true;
            }
            ++at;
        }
        return false;
    }

    bool isAt(std::uint64_t begin, std::uint64_t end) const {
        const auto place = reinterpret_cast<std::uintptr_t>(m_bytes);
        return begin < place + pieceSize && place < end;
    }

private:
    unsigned char* m_bytes;
};

bool standsBetween(std::uint64_t begin, std::uint64_t end, const QByteArray& masked, int memory,
                   Piece& piece) {
    while (begin < end) {
        const std::size_t size = piece.read(memory, begin, end);
        if (piece.holds(masked, size)) {
            return true;
        }
        if (size <= std::size_t(masked.size()) || begin + size >= end) {
            return false;
        }
        begin += size - static_cast<std::size_t>(masked.size()); // it may stand across the edge
    }
    return false;
}

} // namespace

MemoryCanary::MemoryCanary() {
    static std::uint32_t state = 20231;
    for (int index = 0; index < length; ++index) {
        state = state * 1664525U + 1013904223U;
        m_masked.append(static_cast<char>(('a' + (state >> 24U) % 26) ^ mask));
    }
}

SecretText MemoryCanary::secret() const {
    QByteArray letters(length, '\0');
    for (int index = 0; index < length; ++index) {
        letters[index] = static_cast<char>(static_cast<unsigned char>(m_masked[index]) ^ mask);
    }
    SecretText secret(letters);
    overwriteWithZeros(letters);
    return secret;
}

bool MemoryCanary::standsInMemory() const {
    const QByteArray middle = m_masked.mid(middleStart, middleLength);
    const int memory = ::open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    Piece piece;
    std::ifstream regions("/proc/self/maps");
    bool isFound = false;
    for (std::string line; !isFound && std::getline(regions, line);) {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        char isReadable = '-';
        char isWritable = '-';
        std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %c%c", &begin, &end, &isReadable,
                    &isWritable);
        const bool isLooked = isReadable == 'r' && isWritable == 'w' &&
                              end - begin <= longestRegion && !piece.isAt(begin, end);
        isFound = isLooked && standsBetween(begin, end, middle, memory, piece);
    }
    ::close(memory);
    return isFound;
}

} // namespace lumivane::test
