// What a still costs against a bare shared-memory grab of the same display with its copy out, on
// an X server of its own: with none of our windows on it, and with one of the size of a panel.
//
//   bench_capture [ROUNDS]
//
// Each round takes all three, so that whatever else the machine does falls on them alike. Ends
// with 1 when a ratio is over its bar.

#include "Samples.h"
#include "platform/linux/XcbDisplayServer.h"
#include "support/XServer.h"
#include "support/XTestClient.h"
#include "support/XTestProcess.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <xcb/shm.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

using namespace lumivane;
using bench::Samples;

namespace {

constexpr double barWithoutWindows = 1.3;
constexpr double barWithPanel = 3;

/// The least that a frame can cost: no checks, no exclusion, memory kept between frames.
class BareGrab {
public:
    BareGrab(const QByteArray& displayName, const QSize& size)
        : m_connection(xcb_connect(displayName.constData(), nullptr))
        , m_size(size)
        , m_byteCount(std::size_t(size.width()) * std::size_t(size.height()) * 4)
        , m_identifier(shmget(IPC_PRIVATE, m_byteCount, IPC_CREAT | 0600))
        , m_memory(shmat(m_identifier, nullptr, 0))
        , m_segment(xcb_generate_id(m_connection)) {
        const auto attached = xcb_shm_attach_checked(m_connection, m_segment, m_identifier, 0);
        std::free(xcb_request_check(m_connection, attached));
        shmctl(m_identifier, IPC_RMID, nullptr);
    }

    ~BareGrab() {
        xcb_disconnect(m_connection);
        shmdt(m_memory);
    }

    BareGrab(const BareGrab&) = delete;
    BareGrab& operator=(const BareGrab&) = delete;

    QImage take() const {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
        const auto cookie = xcb_shm_get_image(
            m_connection, root, 0, 0, std::uint16_t(m_size.width()), std::uint16_t(m_size.height()),
            ~0U, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment, 0);
        auto* reply = xcb_shm_get_image_reply(m_connection, cookie, nullptr);
        if (reply == nullptr) {
            throw std::runtime_error("no frame");
        }
        std::free(reply);
        QImage image(m_size, QImage::Format_RGB32);
        std::memcpy(image.bits(), m_memory, m_byteCount);
        return image;
    }

private:
    xcb_connection_t* m_connection;
    QSize m_size;
    std::size_t m_byteCount;
    int m_identifier;
    void* m_memory;
    xcb_shm_seg_t m_segment;
};

// A frame that is none counts for nothing.
template <typename Work>
auto framed(Work work) {
    return [work] {
        if (work().isNull()) {
            throw std::runtime_error("no frame");
        }
    };
}

/// A desktop with a wallpaper and overlapping windows, as a trigger may find it.
void furnish(test::XTestClient& client, const QSize& size) {
    client.setWallpaper(9, size);
    for (int number = 0; number < 12; ++number) {
        client.show({.area = QRect(40 + number * 90, 30 + number * 45, 800, 500),
                     .seed = std::uint32_t(number + 1)});
    }
}

/// Whether both ratios are within their bars.
bool tell(const QSize& size, double bare, double without, double with) {
    const double withoutRatio = without / bare;
    const double withRatio = with / bare;
    std::printf("%dx%d  bare grab %.2f ms  still %.2f ms (%.2f, bar %.1f)  "
                "still under a panel %.2f ms (%.2f, bar %.1f)\n",
                size.width(), size.height(), bare, without, withoutRatio, barWithoutWindows, with,
                withRatio, barWithPanel);
    return withoutRatio <= barWithoutWindows && withRatio <= barWithPanel;
}

bool measure(const QSize& size, int rounds) {
    const test::XServer server(size);
    const XcbDisplayServer displayServer(nullptr, server.displayName());
    test::XTestClient client(server.displayName());
    furnish(client, size);
    test::XTestProcess ours(server.displayName());
    const BareGrab bareGrab(server.displayName(), size);
    const StillRequest request{displayServer.displays().front().displayID,
                               ours.processID(),
                               std::nullopt,
                               {size.width(), size.height()}};
    const test::XWindowSpec panel{.area = QRect(size.width() - 460, 40, 420, 320), .seed = 30};

    const auto grab = framed([&] { return bareGrab.take(); });
    const auto still = framed([&] { return displayServer.still(request); });
    Samples bare;
    Samples without;
    Samples with;
    still();
    for (int round = 0; round < rounds; ++round) {
        // Each finds the caches as the other left them, as often before it as behind it.
        if (round % 2 == 0) {
            bare.measure(grab);
            without.measure(still);
        } else {
            without.measure(still);
            bare.measure(grab);
        }
        const xcb_window_t window = ours.show(panel);
        grab(); // the server paints what changed
        with.measure(still);
        ours.hide(window);
        still();
    }
    return tell(size, bare.median(), without.median(), with.median());
}

} // namespace

int main(int argc, char** argv) {
    const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 100;
    try {
        const bool small = measure(QSize(1920, 1080), rounds);
        const bool large = measure(QSize(2880, 1800), rounds);
        return small && large ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
