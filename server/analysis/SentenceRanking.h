#pragma once

#include "server/analysis/ScreenSentences.h"

#include <cstddef>
#include <vector>

namespace lumivane::service {

/// How well each sentence carries the content of all of them: how often its words come up, how
/// early it stands, whether its length is that of a statement. Knows no language. The same
/// sentences give the same numbers, and equal sentences in equal places equal ones.
std::vector<double> rankSentences(const std::vector<ScreenSentence>& sentences);

/// Up to `count` sentences with the highest scores among those that `wanted` marks, none nearly
/// the same as another or as one of `taken`; ties go to the earlier. Sentences with different
/// numbers or moments are never the same. In screen order.
std::vector<std::size_t> chooseSentences(const std::vector<ScreenSentence>& sentences,
                                         const std::vector<double>& scores,
                                         const std::vector<bool>& wanted,
                                         const std::vector<std::size_t>& taken, std::size_t count);

} // namespace lumivane::service
