#include "server/analysis/Extraction.h"

#include "support/ThreadTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace lumivane::service {

using namespace std::chrono_literals;

namespace {

std::string screen(const std::string& name) {
    std::ifstream file(std::string(LUMIVANE_TEST_DATA) + "/screens/" + name + ".txt");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string summary(const std::string& name) {
    return extractSummary(screen(name)).value_or("none");
}

} // namespace

TEST(Extraction, News) {
    EXPECT_EQ(summary("news"),
              "Residents can send comments on the ferry timetable until 28 March.\n"
              "Will the fares stay at the level of the harbour bus?\n"
              "Harbour town votes for a second ferry line\n"
              "The new line will link the old market with the island school, and the first boats "
              "are expected to sail in spring.\n"
              "Supporters say that the ferry will take four hundred cars a day off the harbour "
              "bridge, which has been closed twice this year for repairs.");
}

TEST(Extraction, Mail) {
    EXPECT_EQ(summary("mail"),
              "Please send me your list of stalls by Friday.\n"
              "Can you also ask the school choir whether they sing again?\n"
              "Subject: Budget for the spring fair\n"
              "The hall costs less than last year, but the stage has become more expensive, so "
              "the budget stays the same.");
}

TEST(Extraction, Ticket) {
    const std::string text = summary("ticket");
    EXPECT_EQ(text.find("Due date: 14 March 2026\n"
                        "Does this also happen with reports that hold only charts?\n"
                        "Export stops after the first page when a report has images\n"),
              0U)
        << text;
    EXPECT_EQ(text.find("Add a comment"), std::string::npos);
}

TEST(Extraction, CodeIsToldByItsComments) {
    EXPECT_EQ(summary("code"),
              "Rounds half a cent away from zero, as the tax office asks for invoices.\n"
              "The discount applies before tax, so the order of these steps matters.");
}

TEST(Extraction, TerminalIsToldByWhatFailed) {
    const std::string text = summary("terminal");
    EXPECT_NE(text.find("error: expected fare 240 but the table says 250"), std::string::npos);
    EXPECT_NE(text.find("1 test failed, 47 tests passed in 4.1 seconds"), std::string::npos);
    EXPECT_EQ(text.find("kim@desk"), std::string::npos);
    EXPECT_EQ(text.find("pytest"), std::string::npos);
}

TEST(Extraction, OtherLanguages) {
    EXPECT_EQ(summary("german"),
              "Bitte geben Sie die Erklärung bis zum 24. April im Sekretariat ab.\n"
              "Wer kann an der Station bei der Ankunft helfen?\n"
              "die Klassenfahrt führt in diesem Jahr an die See.\n"
              "Für die Klassenfahrt brauchen wir von allen Kindern die unterschriebene Erklärung.");
    EXPECT_EQ(summary("japanese"), "申し込みは3月14日まで受け付けます。\n"
                                   "発表したい人はいますか？\n"
                                   "来月の勉強会は新しい会議室で開きます。\n"
                                   "勉強会の資料は事前に共有フォルダへ置いてください。");
}

TEST(Extraction, Chat) {
    EXPECT_EQ(summary("chat"),
              "Please write down the serial number, the supplier asks for it by tomorrow noon.\n"
              "Can somebody look at it before the visit on Thursday?\n"
              "The pump in hall 3 is making that noise again.\n"
              "I thought we replaced the bearing last week.\n"
              "It came back after the night shift.");
}

TEST(Extraction, ABuildIsToldByItsError) {
    const std::string text = summary("build");
    EXPECT_NE(text.find("error: 'zone' was not declared in this scope"), std::string::npos);
    EXPECT_NE(text.find("ninja: build stopped: subcommand failed."), std::string::npos);
    EXPECT_EQ(text.find("Building CXX"), std::string::npos);
}

TEST(Extraction, ATracebackIsToldByWhatWasRaised) {
    const std::string text = summary("traceback");
    EXPECT_NE(text.find("ImportError: row 14 of fares.csv holds no amount"), std::string::npos);
    EXPECT_EQ(text.find("File \""), std::string::npos);
}

TEST(Extraction, LinesOfALogStayApartAndTheirTimesAreNoDeadlines) {
    EXPECT_EQ(summary("status"),
              "Active: failed (Result: exit-code) since Tue 2026-03-03 14:02:11 CET; 4min ago\n"
              "Mar 03 14:02:11 desk ferry[4312]: cannot open the timetable: permission denied\n"
              "Mar 03 14:02:11 desk systemd[1]: Failed to start Ferry timetable.");
}

TEST(Extraction, RowsThatStandThereTwiceAreToldOnceEach) {
    EXPECT_EQ(summary("doubled"), "LUM-31 Export stops after the first page\n"
                                  "LUM-32 Login page loses the name that was typed\n"
                                  "LUM-33 Search finds nothing behind the tenth page");
}

TEST(Extraction, RomanceAndSlavicLanguages) {
    EXPECT_EQ(summary("french"),
              "Les habitants peuvent envoyer leurs remarques sur les horaires jusqu'au 28 mars.\n"
              "Les tarifs resteront-ils au niveau du bus du port ?\n"
              "Le port ouvre une deuxième ligne de ferry\n"
              "La nouvelle ligne reliera l'ancien marché à l'école de l'île, et les premiers "
              "bateaux partiront au printemps.");
    EXPECT_EQ(summary("russian"),
              "Жители могут прислать замечания к расписанию до 28 марта.\n"
              "Останутся ли цены на уровне портового автобуса?\n"
              "Совет города проголосовал за вторую паромную линию через гавань.\n"
              "Новая линия свяжет старый рынок с островной школой.");
}

TEST(Extraction, TableRowsWithADateLead) {
    EXPECT_EQ(summary("table"), "Print the posters for the fair, Tom, open\n"
                                "The fair committee meets again when the hall is booked.");
}

TEST(Extraction, AScreenOfFurnitureHasNothingToTell) {
    EXPECT_EQ(extractSummary(screen("chrome")), std::nullopt);
    EXPECT_EQ(extractSummary(""), std::nullopt);
    EXPECT_EQ(extractSummary("?!? --- ..."), std::nullopt);
}

TEST(Extraction, EqualSentencesKeepScreenOrder) {
    EXPECT_EQ(extractSummary("alpha bravo charlie delta\n\necho foxtrot golf hotel\n\n"
                             "india juliett kilo lima\n\nmike november oscar papa"),
              "alpha bravo charlie delta\necho foxtrot golf hotel\nindia juliett kilo lima");
}

TEST(Extraction, NearlyEqualSentencesAreToldOnce) {
    EXPECT_EQ(extractSummary("Second ferry line for the harbour\n\n"
                             "The harbour gets a second ferry line\n\n"
                             "Tickets stay as cheap as they were"),
              "Second ferry line for the harbour\nTickets stay as cheap as they were");
}

TEST(Extraction, EveryDeadlineIsToldHoweverMuchTheyAreAlike) {
    const std::vector<std::vector<std::string>> screens{
        {"Rent for the flat is due on 14 March.", "Rent for the flat is due on 21 March.",
         "Rent for the flat is due on 28 March."},
        {"Physics homework 3 is due on Monday.", "Physics homework 4 is due on Friday."},
        {"Submit the essay draft by 2026-03-14.", "Submit the essay final by 2026-04-18.",
         "Review the essay draft by 2026-03-21."},
        {"The yearly report for the Oslo office is due on Monday.",
         "The yearly report for the Rome office is due on Tuesday.",
         "The yearly report for the Bonn office is due on Wednesday.",
         "The yearly report for the Lyon office is due on Thursday.",
         "The yearly report for the Cork office is due on Friday."},
        {"Submit the ferry timetable by 5am.", "Submit the ferry timetable by 5pm."},
        {"The lease contract is due on 3 May.", "The lease contract is due on 3 June."},
        {"Submit the lease contract by 2026-03-04.", "Submit the lease contract by 2026-04-03."}};
    PromptWish wish;
    wish.wantsDeadlines = true;
    for (const auto& lines : screens) {
        std::string text;
        std::string expected = "Deadlines:";
        for (const std::string& line : lines) {
            text += line + "\n\n";
            expected += "\n- " + line;
        }
        EXPECT_EQ(extractWish(text, wish), expected);
    }
    EXPECT_EQ(extractSummary(screens[1][0] + "\n\n" + screens[1][1]),
              screens[1][0] + "\n" + screens[1][1]);
}

TEST(Extraction, ADeadlineThatIsRepeatedIsToldOnce) {
    PromptWish wish;
    wish.wantsDeadlines = true;
    EXPECT_EQ(extractWish("Rent for the flat is due on 14 March.\n\n"
                          "Reminder: rent for the flat is due on 14th March.",
                          wish),
              "Deadlines:\n- Rent for the flat is due on 14 March.");
}

TEST(Extraction, LongSentencesAreCutWithAMark) {
    std::string text = "word";
    for (int index = 0; index < 100; ++index) {
        text += " word" + std::to_string(index);
    }
    const std::string line = extractSummary(text).value_or("");
    EXPECT_TRUE(line.ends_with("…"));
    EXPECT_LE(line.size(), 242U);
    EXPECT_GE(line.size(), 200U);
}

TEST(Extraction, WishGivesWhatWasAskedFor) {
    PromptWish wish;
    wish.wantsSummary = true;
    wish.wantsDeadlines = true;
    wish.lines = 1;
    EXPECT_EQ(extractWish(screen("mail"), wish),
              "Subject: Budget for the spring fair\n"
              "Deadlines:\n- Please send me your list of stalls by Friday.");
    wish.wantsQuestions = true;
    wish.wantsSummary = false;
    EXPECT_EQ(extractWish("There is nothing to do at all today", wish),
              "No deadlines found.\nNo questions found.");
    EXPECT_EQ(extractWish("OK", wish), std::nullopt);
}

// Shapes that would cost a careless reading the square of their length.
TEST(Extraction, HostileTextIsReadInBoundedTime) {
    const auto repeated = [](const std::string& part) {
        std::string text;
        while (text.size() < 48'000) {
            text += part;
        }
        return text;
    };
    for (const char* part : {".", ">", "a   ", "- ", "?\" ", "(", "\n", "a\n", "a. ", "é", "日",
                             "\xFF", " ", "$", "/", "by ", "1.", "// ", "due 14 march a b. "}) {
        const auto started = lumivane::test::threadTime();
        extractSummary(repeated(part));
        EXPECT_LT(lumivane::test::threadTime() - started, 2s) << part;
    }
}

TEST(PromptWish, ReadsPromptsThatItUnderstandsWhole) {
    const auto wish = readPromptWish("Summarise the screen in two lines, then list any deadlines.");
    ASSERT_TRUE(wish);
    const PromptWish expected{true, true, false, 2};
    EXPECT_EQ(*wish, expected);
    EXPECT_TRUE(readPromptWish("TL;DR please")->wantsSummary);
    EXPECT_TRUE(readPromptWish("List all open questions")->wantsQuestions);
    EXPECT_EQ(readPromptWish("What is due?"), (PromptWish{false, true, false, std::nullopt}));
    EXPECT_EQ(readPromptWish("Key points in 3 lines")->lines, 3U);
    EXPECT_EQ(readPromptWish("The main points and all deadlines"),
              (PromptWish{true, true, false, std::nullopt}));
}

TEST(PromptWish, RefusesWhatItCouldOnlyHalfAnswer) {
    for (const char* prompt :
         {"Translate the screen", "Summarise the screen in French", "", "the", "?",
          "List deadlines and write a reply", "Fasse den Text zusammen",
          "Summarise in two lines or three lines", "Summarise in 12 lines", "Give me two questions",
          "List 3 deadlines", "One deadline please", "What is the most important deadline?",
          "The main question", "Summarise, and the most important of all deadlines",
          "List the key dates", "the main open questions"}) {
        EXPECT_EQ(readPromptWish(prompt), std::nullopt) << prompt;
    }
}

} // namespace lumivane::service
