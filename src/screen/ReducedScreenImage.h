#pragma once

#include <QByteArray>

#include <cstdint>

namespace lumivane {

/// A frame as it may leave the machine.
struct ReducedScreenImage {
    QByteArray data;             ///< JPEG bytes
    std::int64_t pixelWidth = 0; ///< of the encoded image, not of the frame
    std::int64_t pixelHeight = 0;

    bool operator==(const ReducedScreenImage&) const = default;
};

} // namespace lumivane
