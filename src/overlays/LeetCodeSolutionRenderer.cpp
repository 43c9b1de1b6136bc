#include "overlays/LeetCodeSolutionRenderer.h"

namespace lumivane {

StyledText LeetCodeSolutionRenderer::rendered(const QString& text, double) {
    return {{StyledRun{.text = text}}};
}

std::optional<QString> LeetCodeSolutionRenderer::leadingTitle(const QString& text) {
    for (const QStringView line : QString(text).replace(u"\r\n"_qs, u"\n"_qs).tokenize(u'\n')) {
        if (line.startsWith(u"# ")) {
            return line.mid(2).toString();
        }
        if (!line.trimmed().isEmpty()) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

} // namespace lumivane
