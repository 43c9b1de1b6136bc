#include "platform/linux/XcbSharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <utility>

namespace lumivane {

namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int number)
        : m_number(number) {}

    ~FileDescriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int number() const { return m_number; }

    int release() { return std::exchange(m_number, -1); }

private:
    int m_number;
};

[[noreturn]] void throwNoMemory() {
    throw DisplayServerError("There is not enough memory for a frame.");
}

} // namespace

XcbSharedMemory::XcbSharedMemory(const XcbConnection& connection)
    : m_connection(connection) {
    connection.requireExtension(xcb_shm_id, "MIT-SHM");
    const auto version =
        connection.expect(xcb_shm_query_version_reply, xcb_shm_query_version(connection.raw()));
    if (std::pair(version->major_version, version->minor_version) <
        std::pair<std::uint16_t, std::uint16_t>(1, 2)) {
        throw DisplayServerError("The display server cannot share memory.");
    }
}

XcbSharedMemory::~XcbSharedMemory() { release(); }

void XcbSharedMemory::reserve(std::size_t resident) {
    const std::size_t size = 2 * resident;
    if (m_segment != XCB_NONE && size <= m_size) {
        return;
    }
    release();
    FileDescriptor file(memfd_create("lumivane-frame", MFD_CLOEXEC));
    // The first half is taken from the system now: a shortage is an error here, where in the
    // middle of a frame it would be a signal. The second half costs nothing until it is used.
    if (file.number() < 0 || ftruncate(file.number(), static_cast<off_t>(size)) != 0 ||
        posix_fallocate(file.number(), 0, static_cast<off_t>(resident)) != 0) {
        throwNoMemory();
    }
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file.number(), 0);
    if (memory == MAP_FAILED) {
        throwNoMemory();
    }
    m_memory = static_cast<std::byte*>(memory);
    m_size = size;
    const xcb_shm_seg_t segment = xcb_generate_id(m_connection.raw());
    // The library closes the descriptor once it is sent.
    const auto attached = xcb_shm_attach_fd_checked(m_connection.raw(), segment, file.release(), 0);
    m_connection.expectSuccess(attached);
    m_segment = segment;
}

void XcbSharedMemory::release() {
    if (m_segment != XCB_NONE) {
        xcb_shm_detach(m_connection.raw(), std::exchange(m_segment, XCB_NONE));
    }
    if (m_memory != nullptr) {
        munmap(std::exchange(m_memory, nullptr), std::exchange(m_size, 0));
    }
}

xcb_shm_get_image_cookie_t XcbSharedMemory::request(xcb_drawable_t drawable, const QRect& area,
                                                    std::size_t offset) const {
    return xcb_shm_get_image(
        m_connection.raw(), drawable, static_cast<std::int16_t>(area.x()),
        static_cast<std::int16_t>(area.y()), static_cast<std::uint16_t>(area.width()),
        static_cast<std::uint16_t>(area.height()), ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment,
        static_cast<std::uint32_t>(offset));
}

void XcbSharedMemory::await(xcb_shm_get_image_cookie_t cookie) const {
    m_connection.expect(xcb_shm_get_image_reply, cookie);
}

const std::uint32_t* XcbSharedMemory::pixels(std::size_t offset) const {
    return reinterpret_cast<const std::uint32_t*>(m_memory + offset);
}

} // namespace lumivane
