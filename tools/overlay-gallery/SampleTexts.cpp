#include "SampleTexts.h"

namespace lumivane::tools {

namespace {

/// Whole sentences until `characters` are reached, cut there.
QString repeated(const QString& sentence, int characters) {
    return sentence.repeated(characters / int(sentence.size()) + 1).left(characters);
}

} // namespace

QString SampleTexts::summary() {
    return u"The harbour office moves its opening hour to seven from Monday. Permits issued before "
           "that stay valid; new ones are handed out at the second window."_qs;
}

QString SampleTexts::numberedAnswers() {
    return u"1. B\n2. A and D\n3. The second treaty\n4. 1648\n5. C"_qs;
}

QString SampleTexts::error() {
    return u"The analysis service could not be reached. Check the connection and try again."_qs;
}

QString SampleTexts::solution() {
    return u"# 146. LRU Cache\n"
           "**Status:** Locally checked\n\n"
           "## Idea\n"
           "Keep a *doubly linked list* in order of use and a **hash map** from key to node, so "
           "that `get` and `put` both take constant time.\n\n"
           "- On `get`, move the node to the front.\n"
           "- On `put`, drop the node at the back when the cache is full.\n"
           "- See [the notes on lists](https://example.org/lists) for the splice.\n\n"
           "### Steps\n"
           "1. Look the key up.\n"
           "2. Unlink its node, then link it in front.\n"
           "3. Evict while the size is above the capacity.\n\n"
           "```cpp\n"
           "class LRUCache {\n"
           "public:\n"
           "    int get(int key);\n"
           "    void put(int key, int value);\n"
           "};\n"
           "```\n\n"
           "## Complexity\n"
           "Time **O(1)** for each call, space **O(capacity)**. ~~A tree would do~~ and ordered "
           "maps cost a logarithm.\n\n"
           "> A capacity of one is the case that breaks most attempts.\n"_qs;
}

QString SampleTexts::longSolution(int characters) {
    QString text = u"# 146. LRU Cache\n**Status:** Live / Unvalidated\n\n"_qs;
    for (int part = 1; text.size() < characters; ++part) {
        text += u"## Part %1\n"_qs.arg(part);
        text += u"The list keeps the order of use and the map finds the node; `touch` joins the "
                "two in *constant* time, whatever the **capacity**.\n\n"
                "- unlink the node from where it stands\n"
                "- link it in front of the head\n\n"_qs;
        text += summary() + u"\n\n"_qs;
    }
    return text;
}

QString SampleTexts::errorOfLength(int characters) {
    return repeated(u"The service answered with a status that this version does not know. "_qs,
                    characters);
}

QString SampleTexts::longWord() {
    return u"Donaudampfschifffahrtselektrizitätenhauptbetriebswerkbauunterbeamtengesellschafts"
           "rechtsschutzversicherungsbevollmächtigtenausschussvorsitzendenstellvertreter"_qs;
}

QString SampleTexts::hebrew() {
    return u"משרד הנמל נפתח בשעה שבע בבוקר. אישורים שניתנו לפני יום שני (12) נשארים בתוקף."_qs;
}

QString SampleTexts::arabic() {
    return u"يفتح مكتب الميناء في الساعة السابعة صباحًا. التصاريح الصادرة قبل يوم الاثنين (12) تبقى "
           "سارية المفعول."_qs;
}

QString SampleTexts::chinese() {
    return u"港务局从星期一起提前到早上七点开门。此前签发的许可证继续有效，新的许可证在二号窗口领取。"_qs;
}

QString SampleTexts::japanese() {
    return u"港湾事務所は月曜日から午前七時に開きます。それ以前の許可証は引き続き有効です。"_qs;
}

QString SampleTexts::mixedDirections() {
    return u"The file דוח-2026.pdf was sent to محمد at 07:15, see “שלום (world)” on page 3."_qs;
}

QString SampleTexts::emoji() {
    return u"Ready ✅ 🎉 family 👨‍👩‍👧‍👦, thumbs 👍🏽, flag 🇩🇪, "
           u"rainbow "
           u"🏳️‍🌈, "
           u"key "
           u"cap "
           u"3️⃣, heart ❤️, "
           "astronaut 👩🏿‍🚀 done."_qs;
}

QString SampleTexts::markup() {
    return u"if (a < b && b > c) <b>not bold</b> &amp; <img src=\"x\"> &lt;tag&gt; <br> **stars** "
           "`ticks` [link](https://example.org)"_qs;
}

QString SampleTexts::oddWhiteSpace() {
    return u"\n\nfirst\tbehind a tab\r\nsecond   three blanks\u2028third\u00A0joined\n\n\n\nlast  \n"_qs;
}

QString SampleTexts::longTitle(int characters) {
    return repeated(u"Smallest Range Covering Elements from Many Sorted Lists, "_qs, characters);
}

QString SampleTexts::longNotesMessage() {
    return u"The solution could not be written to the notes folder, because the folder is on a "
           "volume that is full. Make room there, or choose another folder in the settings, and "
           "run the analysis again. The answer on this panel is complete and can be copied with "
           "the button below; nothing of it was lost. The folder was last written at 07:15."_qs;
}

} // namespace lumivane::tools
