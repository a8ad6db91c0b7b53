// Settings files that a crash, a full disk or another program left behind.
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

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
    // Cut anywhere, the pending file loses to the target and stays; whole, it replaces the target,
    // though its innermost element is left out.
    for (size_t length = 0; length <= fresh.size(); ++length) {
        put(Target, old);
        put(Pending, fresh.substr(0, length));
        ASSERT_TRUE(LoadXmlFile(loaded, Target)) << length;
        const bool whole = length + 1 >= fresh.size();  // the last byte is a line's end
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

}  // namespace
