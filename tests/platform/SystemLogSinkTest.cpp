#include "platform/linux/SystemLogSink.h"

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace lumivane {

namespace {

using Verbosity = SystemLogSink::Verbosity;

/// A journal's end of the socket.
class FakeJournal {
public:
    explicit FakeJournal(const std::string& path)
        : m_path(path)
        , m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    }

    ~FakeJournal() {
        close(m_socket);
        unlink(m_path.c_str());
    }

    FakeJournal(const FakeJournal&) = delete;
    FakeJournal& operator=(const FakeJournal&) = delete;

    /// The next entry that has arrived, or an empty text.
    std::string entry() const {
        std::string buffer(1 << 20, '\0');
        const ssize_t size = recv(m_socket, buffer.data(), buffer.size(), 0);
        buffer.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
        return buffer;
    }

private:
    std::string m_path;
    int m_socket;
};

/// Both ends of a pipe that stands for standard error.
class ErrorPipe {
public:
    ErrorPipe() { EXPECT_EQ(pipe2(m_ends, O_CLOEXEC), 0); }

    ~ErrorPipe() {
        closeReader();
        close(m_ends[1]);
    }

    ErrorPipe(const ErrorPipe&) = delete;
    ErrorPipe& operator=(const ErrorPipe&) = delete;

    int writer() const { return m_ends[1]; }

    int reader() const { return m_ends[0]; }

    void closeReader() {
        if (m_ends[0] >= 0) {
            close(m_ends[0]);
            m_ends[0] = -1;
        }
    }

    /// Everything written so far.
    std::string text() const {
        fcntl(m_ends[0], F_SETFL, O_NONBLOCK);
        std::string result;
        char buffer[4096];
        ssize_t size = 0;
        while ((size = read(m_ends[0], buffer, sizeof(buffer))) > 0) {
            result.append(buffer, static_cast<std::size_t>(size));
        }
        return result;
    }

private:
    int m_ends[2] = {-1, -1};
};

} // namespace

class SystemLogSinkTest : public testing::Test {
protected:
    std::string journalPath() const { return folder.filePath(u"socket"_qs).toStdString(); }

    std::unique_ptr<SystemLogSink> makeSink(Verbosity verbosity = Verbosity::standard) const {
        return std::make_unique<SystemLogSink>(verbosity, journalPath(), error.writer());
    }

    static void writeEachLevel(SystemLogSink& sink) {
        sink.write("com.example", "timing", LogLevel::debug, "one");
        sink.write("com.example", "timing", LogLevel::info, "two");
        sink.write("com.example", "timing", LogLevel::standard, "three");
        sink.write("com.example", "timing", LogLevel::error, "four");
    }

    QTemporaryDir folder;
    ErrorPipe error;
};

TEST_F(SystemLogSinkTest, TheJournalGetsOneEntryWithItsFields) {
    const FakeJournal journal(journalPath());
    makeSink()->write("com.example", "timing", LogLevel::standard, "Analysis timing; totalMS=5");
    EXPECT_EQ(journal.entry(), "MESSAGE=Analysis timing; totalMS=5\n"
                               "PRIORITY=5\n"
                               "SYSLOG_IDENTIFIER=lumivane\n"
                               "LUMIVANE_SUBSYSTEM=com.example\n"
                               "LUMIVANE_CATEGORY=timing\n");
    EXPECT_EQ(journal.entry(), "");
    EXPECT_EQ(error.text(), "");
}

TEST_F(SystemLogSinkTest, TheJournalGetsEveryLevelWithItsPriority) {
    const FakeJournal journal(journalPath());
    writeEachLevel(*makeSink());
    for (const char* start : {"MESSAGE=one\nPRIORITY=7\n", "MESSAGE=two\nPRIORITY=6\n",
                              "MESSAGE=three\nPRIORITY=5\n", "MESSAGE=four\nPRIORITY=3\n"}) {
        const std::string entry = journal.entry();
        EXPECT_TRUE(entry.starts_with(start)) << entry;
    }
    EXPECT_EQ(error.text(), "");
}

TEST_F(SystemLogSinkTest, WithoutAJournalStandardErrorGetsOneLineEach) {
    writeEachLevel(*makeSink());
    EXPECT_EQ(error.text(), "[timing] default: three\n[timing] error: four\n");
}

TEST_F(SystemLogSinkTest, DebugAndInfoAreShownWhenAskedFor) {
    writeEachLevel(*makeSink(Verbosity::everything));
    EXPECT_EQ(error.text(), "[timing] debug: one\n[timing] info: two\n"
                            "[timing] default: three\n[timing] error: four\n");
}

TEST_F(SystemLogSinkTest, AFileWhereTheSocketShouldBeIsNoJournal) {
    QFile file(folder.filePath(u"socket"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    makeSink()->write("s", "c", LogLevel::error, "x");
    EXPECT_EQ(error.text(), "[c] error: x\n");
}

TEST_F(SystemLogSinkTest, AJournalThatComesAndGoesIsNoticed) {
    const auto sink = makeSink();
    sink->write("s", "c", LogLevel::error, "before");
    {
        const FakeJournal journal(journalPath());
        sink->write("s", "c", LogLevel::error, "during");
        EXPECT_TRUE(journal.entry().starts_with("MESSAGE=during\n"));
    }
    sink->write("s", "c", LogLevel::error, "after");
    EXPECT_EQ(error.text(), "[c] error: before\n[c] error: after\n");
}

TEST_F(SystemLogSinkTest, ABusyJournalIsNotWaitedFor) {
    const FakeJournal journal(journalPath());
    const auto sink = makeSink();
    std::string shown;
    // Far more than a socket holds unread; what it does not take is shown.
    for (int line = 0; line < 100'000 && shown.empty(); ++line) {
        sink->write("s", "c", LogLevel::error, std::string(500, 'x'));
        shown = error.text();
    }
    EXPECT_TRUE(shown.starts_with("[c] error: xxx"));
}

TEST_F(SystemLogSinkTest, APathThatNoSocketCanHaveMeansStandardError) {
    SystemLogSink sink(Verbosity::standard, std::string(500, 'p'), error.writer());
    sink.write("s", "c", LogLevel::error, "x");
    EXPECT_EQ(error.text(), "[c] error: x\n");
}

TEST_F(SystemLogSinkTest, AnEntryThatIsTooLargeForTheJournalIsShown) {
    const FakeJournal journal(journalPath());
    const std::string large(4 << 20, 'x');
    std::string shown;
    std::thread reader([this, &shown] {
        char buffer[65536];
        ssize_t size = 0;
        while ((size = read(error.reader(), buffer, sizeof(buffer))) > 0) {
            shown.append(buffer, static_cast<std::size_t>(size));
            if (shown.starts_with("[c] error: x")) {
                return;
            }
        }
    });
    makeSink()->write("s", "c", LogLevel::error, large);
    reader.join();
    EXPECT_EQ(journal.entry(), "");
    EXPECT_TRUE(shown.starts_with("[c] error: xxx"));
}

TEST_F(SystemLogSinkTest, LineBreaksStartNeitherALineNorAField) {
    const std::string text("a\nPRIORITY=0\r\nb\0c", 17);
    makeSink()->write("s", "c\nd", LogLevel::error, text);
    EXPECT_EQ(error.text(), "[c d] error: a PRIORITY=0  b c\n");
    const FakeJournal journal(journalPath());
    makeSink()->write("s", "c", LogLevel::error, text);
    EXPECT_TRUE(journal.entry().starts_with("MESSAGE=a PRIORITY=0  b c\nPRIORITY=3\n"));
}

TEST_F(SystemLogSinkTest, AReaderThatStandsStillIsNotWaitedFor) {
    const auto sink = makeSink();
    // A pipe holds 64 KiB; this is far more, and nobody reads.
    for (int line = 0; line < 2000; ++line) {
        sink->write("s", "c", LogLevel::error, std::string(500, 'x'));
    }
    EXPECT_TRUE(error.text().starts_with("[c] error: xxx"));
    sink->write("s", "c", LogLevel::error, "later");
    EXPECT_EQ(error.text(), "[c] error: later\n");
}

TEST_F(SystemLogSinkTest, AReaderThatHasGoneDoesNotEndTheProcess) {
    ASSERT_EQ(std::signal(SIGPIPE, SIG_DFL), SIG_DFL);
    error.closeReader();
    const auto sink = makeSink();
    sink->write("s", "c", LogLevel::error, "x");
    sink->write("s", "c", LogLevel::error, "y");
    sigset_t pending;
    sigpending(&pending);
    EXPECT_EQ(sigismember(&pending, SIGPIPE), 0);
}

TEST_F(SystemLogSinkTest, AClosedDescriptorIsHarmless) {
    SystemLogSink sink(Verbosity::everything, journalPath(), -1);
    writeEachLevel(sink);
    EXPECT_EQ(error.text(), "");
}

TEST_F(SystemLogSinkTest, LinesOfManyThreadsDoNotMix) {
    const auto sink = makeSink();
    constexpr int threads = 4;
    constexpr int lines = 50;
    {
        std::vector<std::jthread> writers;
        writers.reserve(threads);
        for (int writer = 0; writer < threads; ++writer) {
            writers.emplace_back([&sink, writer] {
                const std::string text(100, static_cast<char>('a' + writer));
                for (int line = 0; line < lines; ++line) {
                    sink->write("s", "c", LogLevel::error, text);
                }
            });
        }
    }
    const std::string all = error.text();
    std::size_t position = 0;
    int count = 0;
    while (position < all.size()) {
        const std::size_t end = all.find('\n', position);
        ASSERT_NE(end, std::string::npos);
        const std::string line = all.substr(position, end - position);
        ASSERT_EQ(line, "[c] error: " + std::string(100, line.back()));
        position = end + 1;
        ++count;
    }
    EXPECT_EQ(count, threads * lines);
}

TEST_F(SystemLogSinkTest, IntervalsHaveProbesInTheProgram) {
    const auto sink = makeSink();
    sink->beginInterval("capture", 1);
    sink->endInterval("capture", 1);
    EXPECT_EQ(error.text(), "");
    QFile program(u"/proc/self/exe"_qs);
    ASSERT_TRUE(program.open(QIODevice::ReadOnly));
    const QByteArray image = program.readAll();
    // The names as a note in the program's file holds them.
    EXPECT_TRUE(image.contains(QByteArray("lumivane\0interval__begin\0", 25)));
    EXPECT_TRUE(image.contains(QByteArray("lumivane\0interval__end\0", 23)));
}

TEST(SystemLogSinkJournal, OutputThatSomebodyKeepsIsPreferredToTheJournal) {
    QTemporaryDir folder;
    QFile file(folder.filePath(u"kept.log"_qs));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(SystemLogSink::journalFor(file.handle()), std::string_view());

    const ErrorPipe pipe;
    EXPECT_EQ(SystemLogSink::journalFor(pipe.writer()), SystemLogSink::systemJournal);
    EXPECT_EQ(SystemLogSink::journalFor(-1), SystemLogSink::systemJournal);
}

TEST(SystemLogSinkJournal, WithoutAJournalNothingGoesToASocket) {
    // What an address of nothing but zeros would name.
    const int listener = socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    const ErrorPipe pipe;
    SystemLogSink sink(Verbosity::everything, std::string_view(), pipe.writer());
    sink.write("subsystem", "category", LogLevel::standard, "a line");
    char byte = 0;
    EXPECT_EQ(recv(listener, &byte, 1, 0), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(pipe.text(), "[category] default: a line\n");
    close(listener);
}

} // namespace lumivane
