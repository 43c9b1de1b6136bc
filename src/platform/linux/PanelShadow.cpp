#include "platform/linux/PanelShadow.h"

#include "platform/linux/PanelShape.h"

#include <algorithm>
#include <cmath>

namespace lumivane {

namespace {

constexpr double blurPoints = 24;
constexpr double dropPoints = 10;
constexpr double opacity = 0.35;
constexpr int passes = 3; ///< that many running means come close to a bell curve

/// The width in pixels of each running mean, an odd number.
int meanWidth(double scale) {
    const double deviation = blurPoints * scale / 2;
    return 2 * static_cast<int>(deviation * 3 * std::sqrt(2 * M_PI) / 8) + 1;
}

/// The running mean of a line whose values stand `stride` apart; beyond its ends there is nothing.
void smooth(float* line, int count, int stride, int width, std::vector<float>& copy) {
    const int reach = width / 2;
    copy.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        copy[static_cast<std::size_t>(i)] = line[i * stride];
    }
    const auto at = [&copy, count](int i) {
        return i >= 0 && i < count ? copy[static_cast<std::size_t>(i)] : 0.0F;
    };
    float sum = 0;
    for (int i = 0; i < reach; ++i) {
        sum += at(i);
    }
    for (int i = 0; i < count; ++i) {
        sum += at(i + reach);
        line[i * stride] = sum / static_cast<float>(width);
        sum -= at(i - reach);
    }
}

} // namespace

ShadowImage::ShadowImage(const QSize& panel, double radius, double scale)
    : m_panel(panel)
    , m_radius(std::clamp(radius, 0.0, std::min(panel.width(), panel.height()) / 2.0))
    , m_reach(passes * (meanWidth(scale) / 2))
    , m_drop(static_cast<int>(std::lround(dropPoints * scale))) {
    // Far enough inside, rows and columns repeat.
    const int longest = 2 * (m_reach + static_cast<int>(std::ceil(m_radius))) + 1;
    const QSize inner(std::min(panel.width(), longest), std::min(panel.height(), longest));
    m_sampleSize = inner + QSize(2 * m_reach, 2 * m_reach);
    const int width = m_sampleSize.width();
    const int height = m_sampleSize.height();
    m_sample.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (const QRect& part : roundedParts(inner, m_radius)) {
        for (int y = part.top(); y <= part.bottom(); ++y) {
            float* row = m_sample.data() + (y + m_reach) * width + m_reach;
            std::fill(row + part.left(), row + part.right() + 1, 1.0F);
        }
    }
    std::vector<float> copy;
    const int mean = meanWidth(scale);
    for (int pass = 0; pass < passes; ++pass) {
        for (int y = 0; y < height; ++y) {
            smooth(m_sample.data() + y * width, width, 1, mean, copy);
        }
        for (int x = 0; x < width; ++x) {
            smooth(m_sample.data() + x, height, width, mean, copy);
        }
    }
}

QSize ShadowImage::size() const { return m_panel + QSize(2 * m_reach, 2 * m_reach); }

/// How much of a pixel of the image the panel itself covers.
double ShadowImage::coverage(int x, int y) const {
    const double column = x - m_reach + 0.5;
    const double row = y - m_reach + m_drop + 0.5;
    const double fromSide = std::min(column, m_panel.width() - column);
    const double fromEnd = std::min(row, m_panel.height() - row);
    if (fromSide >= m_radius || fromEnd >= m_radius) {
        return fromSide > 0 && fromEnd > 0 ? 1 : 0;
    }
    const double distance = std::hypot(m_radius - fromSide, m_radius - fromEnd);
    return std::clamp(m_radius - distance + 0.5, 0.0, 1.0);
}

void ShadowImage::copyRow(int y, std::uint32_t* pixels) const {
    const auto inSample = [](int position, int whole, int sample) {
        const int middle = sample / 2;
        return position <= middle ? position : std::max(middle, position - (whole - sample));
    };
    const QSize whole = size();
    const float* row =
        m_sample.data() + inSample(y, whole.height(), m_sampleSize.height()) * m_sampleSize.width();
    for (int x = 0; x < whole.width(); ++x) {
        const double blurred = row[inSample(x, whole.width(), m_sampleSize.width())];
        const double alpha = opacity * blurred * (1 - coverage(x, y));
        pixels[x] = static_cast<std::uint32_t>(std::lround(alpha * 255)) << 24;
    }
}

namespace {

/// A way of storing pixels that has room for opacity.
xcb_visualid_t transparentVisual(const xcb_screen_t& screen) {
    auto depths = xcb_screen_allowed_depths_iterator(&screen);
    for (; depths.rem > 0; xcb_depth_next(&depths)) {
        if (depths.data->depth == 32 && depths.data->visuals_len > 0) {
            return xcb_depth_visuals(depths.data)->visual_id;
        }
    }
    return 0;
}

} // namespace

PanelShadow::PanelShadow(const ToolkitServer& server, xcb_window_t panel, const QRect& area,
                         double radius, double scale)
    : m_server(server)
    , m_window(xcb_generate_id(server.raw()))
    , m_colours(xcb_generate_id(server.raw())) {
    const ShadowImage image(area.size(), radius, scale);
    xcb_connection_t* connection = server.raw();
    const xcb_visualid_t visual = transparentVisual(server.screen());
    xcb_create_colormap(connection, XCB_COLORMAP_ALLOC_NONE, m_colours, server.screen().root,
                        visual);
    const QPoint corner = area.topLeft() - QPoint(image.reach(), image.reach() - image.drop());
    const std::uint32_t values[] = {0, 0, 1, m_colours};
    xcb_create_window(
        connection, 32, m_window, server.screen().root, static_cast<std::int16_t>(corner.x()),
        static_cast<std::int16_t>(corner.y()), static_cast<std::uint16_t>(image.size().width()),
        static_cast<std::uint16_t>(image.size().height()), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
        XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP,
        values);
    draw(image);
    server.ignorePointer(m_window);
    server.lower(m_window, panel);
    xcb_map_window(connection, m_window);
}

PanelShadow::~PanelShadow() {
    xcb_destroy_window(m_server.raw(), m_window);
    xcb_free_colormap(m_server.raw(), m_colours);
}

/// The image becomes the window's background, which the server paints by itself. It is sent in
/// pieces, so that nothing of its size is ever held here.
void PanelShadow::draw(const ShadowImage& image) {
    constexpr int pixelsAtOnce = 32 * 1024;
    xcb_connection_t* connection = m_server.raw();
    const int width = image.size().width();
    const int height = image.size().height();
    const xcb_pixmap_t pixmap = xcb_generate_id(connection);
    const xcb_gcontext_t context = xcb_generate_id(connection);
    xcb_create_pixmap(connection, 32, pixmap, m_window, static_cast<std::uint16_t>(width),
                      static_cast<std::uint16_t>(height));
    xcb_create_gc(connection, context, pixmap, 0, nullptr);
    const int rowsAtOnce = std::max(1, pixelsAtOnce / width);
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(rowsAtOnce * width));
    for (int top = 0; top < height; top += rowsAtOnce) {
        const int rows = std::min(rowsAtOnce, height - top);
        for (int row = 0; row < rows; ++row) {
            image.copyRow(top + row, pixels.data() + row * width);
        }
        xcb_put_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context,
                      static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(rows), 0,
                      static_cast<std::int16_t>(top), 0, 32,
                      static_cast<std::uint32_t>(rows * width) * 4,
                      reinterpret_cast<const std::uint8_t*>(pixels.data()));
    }
    xcb_change_window_attributes(connection, m_window, XCB_CW_BACK_PIXMAP, &pixmap);
    xcb_free_gc(connection, context);
    xcb_free_pixmap(connection, pixmap);
}

} // namespace lumivane
