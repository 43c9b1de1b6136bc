#include "support/FakeDisplayServer.h"

#include "async/MainThread.h"

#include <algorithm>
#include <utility>

namespace lumivane::test {

FakeDisplayServer::FakeDisplayServer()
    : m_displays{{firstDisplayID, Rect{0, 0, 1440, 900}, 1, true}}
    , m_pointer(Point{720, 450}) {}

void FakeDisplayServer::setPermission(bool mayCapture) {
    const std::lock_guard lock(m_mutex);
    m_mayCapture = mayCapture;
}

void FakeDisplayServer::setDisplays(std::vector<DisplayInfo> displays) {
    const std::lock_guard lock(m_mutex);
    m_displays = std::move(displays);
}

void FakeDisplayServer::setVisibleFrame(std::uint32_t displayID, std::optional<Rect> visibleFrame) {
    const std::lock_guard lock(m_mutex);
    m_visibleFrames[displayID] = visibleFrame;
}

void FakeDisplayServer::setPointer(std::optional<Point> pointer) {
    const std::lock_guard lock(m_mutex);
    m_pointer = pointer;
}

void FakeDisplayServer::setImage(QImage image) {
    const std::lock_guard lock(m_mutex);
    m_image = std::move(image);
}

void FakeDisplayServer::failDisplays(std::optional<std::string> text) {
    const std::lock_guard lock(m_mutex);
    m_displaysFailure = std::move(text);
}

void FakeDisplayServer::failStill(std::optional<std::string> text) {
    const std::lock_guard lock(m_mutex);
    m_stillFailure = std::move(text);
}

void FakeDisplayServer::holdStills() {
    const std::lock_guard lock(m_mutex);
    m_holdsStills = true;
}

void FakeDisplayServer::releaseStills() {
    {
        const std::lock_guard lock(m_mutex);
        m_holdsStills = false;
    }
    m_released.notify_all();
}

FakeDisplayServer::Counts FakeDisplayServer::counts() const {
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

std::vector<StillRequest> FakeDisplayServer::stillRequests() const {
    const std::lock_guard lock(m_mutex);
    return m_stillRequests;
}

bool FakeDisplayServer::mayCapture() const {
    const std::lock_guard lock(m_mutex);
    ++m_counts.mayCapture;
    return m_mayCapture;
}

std::vector<DisplayInfo> FakeDisplayServer::displays() const {
    const std::lock_guard lock(m_mutex);
    ++m_counts.displays;
    if (m_displaysFailure) {
        throw DisplayServerError(*m_displaysFailure);
    }
    return m_displays;
}

std::optional<Rect> FakeDisplayServer::visibleFrame(std::uint32_t displayID) const {
    const std::lock_guard lock(m_mutex);
    ++m_counts.visibleFrame;
    if (!isMainThread()) {
        ++m_counts.visibleFrameOffMainThread;
    }
    if (const auto set = m_visibleFrames.find(displayID); set != m_visibleFrames.end()) {
        return set->second;
    }
    const DisplayInfo* display = find(displayID);
    return display == nullptr ? std::nullopt : std::optional(display->frame);
}

std::optional<Point> FakeDisplayServer::pointerLocation() const {
    const std::lock_guard lock(m_mutex);
    ++m_counts.pointerLocation;
    return m_pointer;
}

QImage FakeDisplayServer::still(const StillRequest& request) const {
    std::unique_lock lock(m_mutex);
    ++m_counts.still;
    if (isMainThread()) {
        ++m_counts.stillOnMainThread;
    }
    m_stillRequests.push_back(request);
    m_released.wait(lock, [this] { return !m_holdsStills; });
    if (m_stillFailure) {
        throw DisplayServerError(*m_stillFailure);
    }
    if (find(request.displayID) == nullptr) {
        throw DisplayServerError("The display is no longer attached.");
    }
    if (request.size.width < 1 || request.size.height < 1) {
        throw DisplayServerError("The size of the frame is out of range.");
    }
    if (!m_image.isNull()) {
        return m_image;
    }
    QImage image(request.size.width, request.size.height, QImage::Format_RGB32);
    image.fill(Qt::gray);
    return image;
}

const DisplayInfo* FakeDisplayServer::find(std::uint32_t displayID) const {
    const auto found =
        std::find_if(m_displays.begin(), m_displays.end(), [displayID](const DisplayInfo& display) {
            return display.displayID == displayID;
        });
    return found == m_displays.end() ? nullptr : &*found;
}

} // namespace lumivane::test
