#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace lumivane::service {

/// Whether somebody has a handle already; takes the folded form.
using HandleTest = std::function<bool(const std::string& folded)>;

/// A free handle for a new account, made out of a name: "Ada Lovelace" gives "ada-lovelace", and
/// where that is taken or reserved the same with an ending. Names without a letter that a handle
/// can have give "user-" and an ending. Always well formed.
std::string suggestHandle(std::string_view name, const HandleTest& isTaken);

/// What two handles are compared by.
std::string foldedHandle(std::string_view handle);

} // namespace lumivane::service
