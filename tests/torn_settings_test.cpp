// Settings files that a crash, a full disk or another program left behind.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <system_error>

#include "config/xml_store.h"
#include "module_test.h"

namespace {

using std::filesystem::exists;

class TornSettings : public ModuleTest {
  protected:
    static void put(const char* path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }
    static TiXmlDocument makeDocument(const std::string& text) {
        TiXmlDocument made;
        made.Parse(text.c_str());
        return made;
    }
};

constexpr const char* Target = "f.xml";
constexpr const char* Pending = "f.xml.pending";

TEST_F(TornSettings, LoadTakesTheCompletePendingFileOrElseTheTarget) {
    const std::string old = "<Old><a/></Old>\n";
    const std::string fresh = "<New>" + repeat("<b>", 256) + repeat("</b>", 256) + "</New>\n";
    TiXmlDocument loaded;
    // A pending file that is cut off is ignored and stays. A whole one replaces the target, even
    // when its innermost element is beyond the bounds.
    for (size_t length = 0; length <= fresh.size(); ++length) {
        put(Target, old);
        put(Pending, fresh.substr(0, length));
        ASSERT_TRUE(LoadXmlFile(loaded, Target)) << length;
        const bool whole = length + 1 >= fresh.size();  // the last byte is a line feed
        ASSERT_STREQ(loaded.RootElement()->Value(), whole ? "New" : "Old") << length;
        ASSERT_EQ(exists(Pending), !whole) << length;
        ASSERT_EQ(fileContent(Target), whole ? fresh.substr(0, length) : old) << length;
    }
    std::filesystem::remove(Target);
    put(Pending, fresh);
    EXPECT_TRUE(LoadXmlFile(loaded, Target));
    EXPECT_EQ(fileContent(Target), fresh);
}

TEST_F(TornSettings, WhatIsNoDocument) {
    TiXmlDocument loaded;
    EXPECT_FALSE(LoadXmlFile(loaded, Target));
    EXPECT_EQ(loaded.ErrorId(), TiXmlBase::TIXML_ERROR_OPENING_FILE);
    for (const std::string& text : {std::string(), std::string("<a"), std::string("<a b=\"\xC3"),
                                    std::string("<a>\xF0\x9F\x98")}) {
        put(Target, text);
        EXPECT_FALSE(LoadXmlFile(loaded, Target)) << text;
    }
    std::filesystem::resize_file(Target, uintmax_t{1} << 40);  // more than memory holds
    EXPECT_FALSE(LoadXmlFile(loaded, Target));
    std::filesystem::remove(Target);
    std::filesystem::create_directory(Target);
    EXPECT_FALSE(LoadXmlFile(loaded, Target));
    ASSERT_EQ(mkfifo(Pending, 0600), 0);
    EXPECT_FALSE(LoadXmlFile(loaded, Target));
}

TEST_F(TornSettings, SaveReplacesWholeAndIndented) {
    put(Target, "<Old/>");
    put(Pending,
        "rubbish that a crash left, longer than the new text <<<<<<<<<<<<<<<<<<<<<<<<<<<<");
    EXPECT_TRUE(SaveXmlFile(makeDocument("<?xml?><A b=\"1\"><C>t</C></A>"), Target));
    EXPECT_EQ(fileContent(Target), "<?xml ?>\n<A b=\"1\">\n    <C>t</C>\n</A>\n");
    EXPECT_FALSE(exists(Pending));
}

TEST_F(TornSettings, FailedSavesLeaveTheOldFile) {
    const TiXmlDocument fresh = makeDocument("<New>" + std::string(9000, 'x') + "</New>");
    EXPECT_FALSE(SaveXmlFile(fresh, "nowhere/f.xml"));
    std::filesystem::create_directories("dir.xml/child");
    EXPECT_FALSE(SaveXmlFile(fresh, "dir.xml"));
    EXPECT_TRUE(exists("dir.xml.pending"));

    // A disk that is full after some bytes: a file size limit cuts the write short.
    put(Target, "<Old/>");
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    for (const rlim_t room : {0U, 1U, 100U, 4096U, 9000U}) {
        const rlimit limited{room, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        EXPECT_FALSE(SaveXmlFile(fresh, Target)) << room;
        setrlimit(RLIMIT_FSIZE, &before);
        EXPECT_EQ(lastXmlSaveFailure(), "write error 27 - File too large");
        EXPECT_FALSE(exists(Pending));
        EXPECT_EQ(fileContent(Target), "<Old/>");
    }
}

// Something else is at the pending path before a save. It is removed if possible, its target never.
TEST_F(TornSettings, ThePendingPathIsNotTrusted) {
    const TiXmlDocument fresh = makeDocument("<New/>");
    struct Case {
        const char* what;
        bool isReplaced = true;
        bool isLoaded = false;  // a hard link is a regular file
    };
    for (const auto& [what, isReplaced, isLoaded] :
         {Case{"mkfifo P"}, Case{"ln -s /dev/null P"}, Case{"ln -s other P"},
          Case{"ln other P", true, true}, Case{"ln -s nowhere P"}, Case{"mkdir P", false}}) {
        put(Target, "<Old/>");
        put("other", "<Other/>");
        std::string command = what;
        ASSERT_EQ(std::system(command.replace(command.rfind('P'), 1, Pending).c_str()), 0);
        const int reader = open(Pending, O_RDONLY | O_NONBLOCK);  // of a FIFO
        TiXmlDocument loaded;
        EXPECT_TRUE(LoadXmlFile(loaded, Target));
        EXPECT_EQ(fileContent(Target), isLoaded ? "<Other/>" : "<Old/>") << what;
        EXPECT_EQ(SaveXmlFile(fresh, Target), isReplaced) << what;
        EXPECT_EQ(fileContent(Target), isReplaced ? "<New />\n" : "<Old/>") << what;
        EXPECT_FALSE(std::filesystem::is_symlink(Target)) << what;
        EXPECT_EQ(fileContent("other"), "<Other/>") << what;
        close(reader);
        std::filesystem::remove_all(Pending);
    }
    EXPECT_EQ(lastXmlSaveFailure(), "remove error 21 - Is a directory");
}

TEST_F(TornSettings, NothingIsSavedThatALoadRefuses) {
    put(Target, "<Old/>");
    EXPECT_FALSE(
        SaveXmlFile(makeDocument("<a>" + std::string(LargestXmlFile, 'x') + "</a>"), Target));
    EXPECT_TRUE(lastXmlSaveFailure().starts_with("too large: 67108")) << lastXmlSaveFailure();
    EXPECT_EQ(fileContent(Target), "<Old/>");
    for (const size_t excess : {size_t{0}, size_t{1}}) {
        put(Target, "<a/>" + std::string(LargestXmlFile - 4 + excess, ' '));
        TiXmlDocument loaded;
        EXPECT_EQ(LoadXmlFile(loaded, Target), excess == 0);
    }

    constexpr size_t Tags = 8;  // with the line's end
    EXPECT_TRUE(SaveXmlFile(makeDocument("<a>" + std::string(LargestXmlFile - Tags, 'x') + "</a>"),
                            Target));
    put(Target, "<a b='x\ny\r\nz\rw'/>");
    TiXmlDocument lines;
    ASSERT_TRUE(LoadXmlFile(lines, Target));
    EXPECT_STREQ(lines.RootElement()->Attribute("b"), "x\ny\nz\nw");

    // A week by the minute is kept. A schedule that indentation, entities or replaced bytes make
    // too large when printed is dropped, whatever elements it begins with.
    const std::string pairs = repeat("<d><d/></d>", 100);
    const std::string week =
        repeat("<Entry FirstMinute='0' LastMinute='10079' Record='0'/>", 10'080);
    const std::string deep = repeat("<d>", 50) + repeat("<e/>", 20'000) + repeat("</d>", 50);
    const std::string half = repeat("&quot;", 500'000);
    const std::string quotes = pairs + half + "<e b='" + half + "'/>";
    const std::string surrogates = "<e b='" + repeat("&#xD800;", 700'000) + "'/>";
    const std::string small =
        pairs + repeat("<d>", 50) + repeat("<f/>", 12'000) + repeat("</d>", 50);
    bool isSmallKept = false;
    fakeClock.onPause = [&, schedules = std::vector{small, week, deep, quotes, surrogates},
                         next = 0U]() mutable {
        isSmallKept = isSmallKept || description.find("<f />") != std::string::npos;
        if (next == schedules.size())
            return void(Close());
        configure("<Varo><Devices ID='1310720'><Device><Audio><Input Number='0'><Schedule>" +
                  schedules[next++] + "</Schedule></Input></Audio></Device></Devices></Varo>");
    };
    run();
    EXPECT_TRUE(isSmallKept);
    EXPECT_GT(description.size(), week.size());
    EXPECT_LT(fileContent("tamborin.xml").size(), 2 * week.size());
    EXPECT_EQ(description.find("<e "), std::string::npos);
}

// A start without a free descriptor waits for one. If none becomes free, nothing is saved.
TEST_F(TornSettings, AFileThatCannotBeOpenedNowIsNotMissing) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the checks of this build open pipes to see which memory can be read";
#endif
    const std::string settings =
        "<Varo><Devices ID='1310720' BufferLength='77'/><!--kept--></Varo>";
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    for (const int pausesUntilFree : {5, 5000}) {
        Unload();
        load();
        put("tamborin.xml", settings);
        int pauses = 0;
        fakeClock.onPause = [&] {
            if (++pauses == pausesUntilFree)
                setrlimit(RLIMIT_NOFILE, &before);
            if (!description.empty() && pauses > 1000)
                Close();
        };
        const rlimit none{0, before.rlim_max};
        description.clear();
        setrlimit(RLIMIT_NOFILE, &none);
        run();
        setrlimit(RLIMIT_NOFILE, &before);
        const bool isFound = pausesUntilFree == 5;
        EXPECT_EQ(description.find("BufferLength=\"77\"") != std::string::npos, isFound);
        EXPECT_EQ(fileContent("tamborin.xml") == settings, !isFound);
    }
}

// Destroyed last. Sees the store as a worker would that still saves while the process exits.
struct LastOfAll {
    std::string expected;
    ~LastOfAll() {
        if (!expected.empty())
            _exit(lastXmlSaveFailure() == expected ? 0 : 1);
    }
};
[[gnu::init_priority(101)]] LastOfAll lastOfAll;

TEST_F(TornSettings, TheStoreOutlivesTheExit) {
    const pid_t child = fork();
    if (child == 0) {
        SaveXmlFile(makeDocument("<a/>"), "nowhere/f.xml");
        lastOfAll.expected = lastXmlSaveFailure();
        std::exit(2);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

}  // namespace
