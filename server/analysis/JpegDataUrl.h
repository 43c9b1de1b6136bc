#pragma once

#include <string_view>

namespace lumivane::service {

/// Whether the text is "data:image/jpeg;base64," followed by standard base64, padded, without
/// line breaks, whose bytes begin as every JPEG file does. The picture itself is not decoded.
bool isJpegDataUrl(std::string_view text);

} // namespace lumivane::service
