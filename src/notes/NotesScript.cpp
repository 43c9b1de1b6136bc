#include "notes/NotesScript.h"

#include "notes/AppleNotesService.h"

namespace lumivane {

QString NotesScript::makeNote(const QString& folder, const QString& title, const QString& body) {
    const QString values = u"    set folderTitle to "_qs + literal(folder) +
                           u"\n    set noteTitle to "_qs + literal(title) +
                           u"\n    set noteBody to "_qs + literal(body) + u'\n';
    return u"tell application \"Notes\"\n"_qs + values +
           u"    set targetAccount to default account\n"
           u"    if not (exists folder folderTitle of targetAccount) then\n"
           u"        make new folder at targetAccount with properties {name:folderTitle}\n"
           u"    end if\n"
           u"    set targetFolder to folder folderTitle of targetAccount\n"
           u"    make new note at targetFolder with properties {name:noteTitle, body:noteBody}\n"
           u"end tell"_qs;
}

QString NotesScript::literal(QStringView text) {
    QString output;
    output.reserve(text.size() + 2);
    output += u'"';
    // One pass gives what four replacements in their order give: no escape is escaped again.
    for (const QChar unit : text) {
        switch (unit.unicode()) {
        case u'\\':
            output += u"\\\\";
            break;
        case u'"':
            output += u"\\\"";
            break;
        case u'\r':
            output += u"\\r";
            break;
        case u'\n':
            output += u"\\n";
            break;
        default:
            output += unit;
        }
    }
    output += u'"';
    return output;
}

NotesServiceError NotesScript::error(std::optional<std::int32_t> appleScriptErrorNumber) {
    return NotesServiceError(appleScriptErrorNumber == AppleNotesService::notPermitted
                                 ? NotesServiceError::Case::automationDenied
                                 : NotesServiceError::Case::creationFailed);
}

} // namespace lumivane
