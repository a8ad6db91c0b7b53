// Kills a save, or lets the disk fail, at each of its calls. Afterwards a load must find the old
// document or the new one, whole, and only the pending file may have been removed.
//
// The linker's --wrap leads the calls to this file. A kill is a power cut, too: text that was not
// on the disk by the last fsync is gone, even when the file has been renamed.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <set>
#include <thread>
#include <tuple>

#include "config/xml_store.h"
#include "module_test.h"

namespace {

constexpr const char* Target = "f.xml";
constexpr const char* Pending = "f.xml.pending";
constexpr int Killed = 99;  // exit status of a save
constexpr int Saved = 2;    // otherwise a sum of these two
constexpr int Reached = 4;  // the failing call was made
constexpr int Never = -1;

// Says which call, counted from 0, is killed or fails, and tracks what is on the disk.
struct FaultyDisk {
    bool inUse = false;
    int calls = 0;
    int killedCall = Never;
    int failingCall = Never;
    int error = 0;           // 0: a write that is short without an error
    size_t shortLength = 0;  // what a failing write still writes
    bool hasWriteError = false;
    int file = -1;  // descriptor of the pending file, valid after a rename, too
    off_t syncedLength = 0;

    // Counts a call. Returns true when it must fail.
    bool fails() {
        if (!inUse)
            return false;
        if (calls == killedCall)
            cutPower();
        if (calls++ != failingCall)
            return false;
        errno = error;
        return true;
    }
    [[noreturn]] void cutPower() const {
        if (file >= 0 && ftruncate(file, syncedLength) != 0)
            _exit(1);
        _exit(Killed);
    }
};
FaultyDisk disk;

// How many saves are between opening the pending file and renaming it: now, and at most so far.
std::atomic<int> saving = 0;
std::atomic<int> mostSaving = 0;

}  // namespace

extern "C" {
FILE* __real_fopen(const char* path, const char* mode);
size_t __real_fwrite(const void* data, size_t size, size_t count, FILE* file);
int __real_ferror(FILE* file);
int __real_fflush(FILE* file);
int __real_fsync(int descriptor);
int __real_fclose(FILE* file);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);

FILE* __wrap_fopen(const char* path, const char* mode) {
    if (disk.fails())
        return nullptr;
    FILE* file = __real_fopen(path, mode);
    if (disk.inUse && file != nullptr && *mode == 'w')
        disk.file = dup(fileno(file));
    if (*mode == 'w')
        mostSaving = std::max(mostSaving.load(), ++saving);
    return file;
}
size_t __wrap_fwrite(const void* data, size_t size, size_t count, FILE* file) {
    if (!disk.fails())
        return __real_fwrite(data, size, count, file);
    disk.hasWriteError = disk.error != 0;
    return __real_fwrite(data, size, std::min(count, disk.shortLength), file);
}
int __wrap_ferror(FILE* file) { return disk.hasWriteError ? 1 : __real_ferror(file); }
int __wrap_fflush(FILE* file) { return disk.fails() ? EOF : __real_fflush(file); }
int __wrap_fsync(int descriptor) {
    // The store ignores a failed sync, so a failing one counts as done. A missing one loses text.
    const bool fails = disk.fails();
    struct stat status {};
    if (disk.inUse && fstat(descriptor, &status) == 0)
        disk.syncedLength = status.st_size;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));  // so that saves would overlap
    return fails ? -1 : __real_fsync(descriptor);
}
int __wrap_fclose(FILE* file) {
    const bool fails = disk.fails();
    return __real_fclose(file) != 0 || fails ? EOF : 0;
}
int __wrap_rename(const char* from, const char* to) {
    --saving;
    return disk.fails() ? -1 : __real_rename(from, to);
}
int __wrap_unlink(const char* path) { return disk.fails() ? -1 : __real_unlink(path); }
}

namespace {

std::string printed(const TiXmlDocument& document) {
    TiXmlPrinter printer;
    document.Accept(&printer);
    return printer.Str();
}

class KilledSave : public ModuleTest {
  protected:
    KilledSave() {
        old_.Parse("<Old><a b='1'/></Old>");
        new_.Parse("<New><c>text</c><d/></New>");
    }

    // Saves and loads in a process of its own on the disk `plan`, and checks what is left. Returns
    // false when the planned call was not reached, so that nothing failed.
    bool saveOn(const FaultyDisk& plan) {
        std::filesystem::remove(Pending);
        std::ofstream(Target) << printed(old_);
        std::ofstream("other.xml") << "<Other/>";
        const pid_t child = fork();
        if (child == 0) {
            disk = plan;
            disk.inUse = true;
            const bool saved = SaveXmlFile(new_, Target);
            TiXmlDocument loaded;
            LoadXmlFile(loaded, Target);
            _exit((saved ? Saved : 0) | (disk.calls > plan.failingCall ? Reached : 0));
        }
        int status = 0;
        waitpid(child, &status, 0);
        const int end = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        EXPECT_TRUE(end == Killed || (end >= 0 && end <= (Saved | Reached))) << "the save crashed";

        std::set<std::string> files;
        for (const auto& entry : std::filesystem::directory_iterator("."))
            files.insert(entry.path().filename());
        files.erase(Pending);
        EXPECT_EQ(files, (std::set<std::string>{Target, "other.xml"}));
        TiXmlDocument found;
        EXPECT_TRUE(LoadXmlFile(found, Target));
        EXPECT_TRUE(printed(found) == printed(new_) ||
                    (end != (Saved | Reached) && printed(found) == printed(old_)))
            << printed(found);
        return end == Killed || (plan.killedCall == Never && (end & Reached) != 0);
    }

    // Saves on the disk `plan`, then again with a kill at each call from the failing one on.
    bool saveAndKillOn(FaultyDisk plan) {
        const bool matters = saveOn(plan);
        for (plan.killedCall = std::max(plan.failingCall, 0); saveOn(plan); ++plan.killedCall)
            ++kills_;
        return matters;
    }

    TiXmlDocument old_;
    TiXmlDocument new_;
    int kills_ = 0;
};

TEST_F(KilledSave, LeavesTheOldOrTheNewDocument) {
    saveAndKillOn({});
    const auto length = printed(new_).size();
    std::vector<FaultyDisk> faults;
    for (const size_t written : {size_t{0}, size_t{1}, length / 2, length - 1})
        faults.push_back({.error = 0, .shortLength = written});
    for (const int error :
         {ENOSPC, EIO, EACCES, ENOENT, EXDEV, EDQUOT, EROFS, EINTR, EMFILE, EAGAIN})
        faults.push_back({.error = error, .shortLength = length / 2});
    for (FaultyDisk fault : faults)
        for (fault.failingCall = 0; saveAndKillOn(fault); ++fault.failingCall) {
        }
    EXPECT_GT(kills_, 250);
}

TEST_F(KilledSave, SaysWhatFailed) {
    constexpr size_t Short = 10;
    const std::string onlyWrote =
        "only wrote 10 of " + std::to_string(printed(new_).size()) + " bytes";
    // Calls: create, write, flush, sync, close, rename. ENOENT: another process has renamed.
    for (const auto& [call, error, failure] : std::vector<std::tuple<int, int, std::string>>{
             {0, EACCES, "create error 13 - Permission denied"},
             {1, EIO, "write error 5 - Input/output error"},
             {1, 0, onlyWrote},
             {2, EIO, ""},
             {3, EIO, ""},
             {4, EDQUOT, "close error 122 - Disk quota exceeded"},
             {5, EXDEV,
              "Failed to rename .xml.pending to .xml file 18 - Invalid cross-device link"},
             {5, ENOENT, ""}}) {
        std::filesystem::remove(Pending);
        disk = {.inUse = true, .failingCall = call, .error = error, .shortLength = Short};
        const bool saved = SaveXmlFile(new_, Target);
        disk = {};
        EXPECT_EQ(saved ? "" : lastXmlSaveFailure(), failure) << call;
    }
}

TEST_F(KilledSave, SavesOfOnePathTakeTurns) {
    saving = mostSaving = 0;
    const auto save = [this] {
        for (int i = 0; i < 20; ++i)
            EXPECT_TRUE(SaveXmlFile(new_, Target));
    };
    std::thread other(save);
    save();
    other.join();
    EXPECT_EQ(mostSaving, 1);
}

}  // namespace
