#include "config/xml_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <set>
#include <string_view>
#include <system_error>

#include "base/mutex.h"
#include "base/never_destroyed.h"
#include "config/xml_parse.h"
#include "plugin/document.h"

namespace {

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

// The paths that are being loaded or saved, and why the last failed save failed.
class XmlFilesInUse {
  public:
    bool tryInsert(const std::string& path) EXCLUDES(lock_) {
        const MutexLock held(lock_);
        return paths_.insert(path).second;
    }
    void erase(const std::string& path) EXCLUDES(lock_) {
        const MutexLock held(lock_);
        paths_.erase(path);
    }
    void recordFailure(const std::string& message) EXCLUDES(lock_) {
        const MutexLock held(lock_);
        lastFailure_ = message;
    }
    std::string lastFailure() EXCLUDES(lock_) {
        const MutexLock held(lock_);
        return lastFailure_;
    }

  private:
    Mutex lock_;
    std::set<std::string> paths_ GUARDED_BY(lock_);
    std::string lastFailure_ GUARDED_BY(lock_);
};

NeverDestroyed<XmlFilesInUse> filesInUse;

// Locks one path. Waits in a busy loop while another guard holds it. That is rare: the module loads
// and saves on one thread only.
class XmlFileGuard {
  public:
    explicit XmlFileGuard(const char* path) : path_(path) {
        while (!filesInUse.object.tryInsert(path_)) {
        }
    }
    ~XmlFileGuard() { filesInUse.object.erase(path_); }
    XmlFileGuard(const XmlFileGuard&) = delete;
    XmlFileGuard& operator=(const XmlFileGuard&) = delete;

  private:
    const std::string path_;
};

std::string pendingPathOf(const char* path) { return std::string(path) + PendingSuffix; }

std::string withErrno(const char* what, int error) {
    return what + std::to_string(error) + " - " + std::strerror(error);
}

// Writes `text` to a new file and syncs it. Returns an error message, empty on success.
//
// "x" creates new files only: a FIFO cannot block the save, and a link cannot redirect it.
std::string writePending(const std::string& pendingPath, std::string_view text) {
    struct stat status {};
    if (lstat(pendingPath.c_str(), &status) == 0 && unlink(pendingPath.c_str()) != 0 &&
        errno != ENOENT)
        return withErrno("remove error ", errno);
    FilePtr file(std::fopen(pendingPath.c_str(), "wbx"));
    if (!file)
        return withErrno("create error ", errno);
    // Unbuffered, so that a full disk shows in the write: the C library forgets text that a flush
    // could not write, and closes such a file without complaint.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    const auto length = static_cast<int32_t>(text.size());
    const auto written = static_cast<int32_t>(std::fwrite(text.data(), 1, text.size(), file.get()));
    std::string message;
    if (std::ferror(file.get()) != 0)
        message = withErrno("write error ", errno);
    std::fflush(file.get());
    fsync(fileno(file.get()));
    if (std::fclose(file.release()) != 0 && message.empty())
        message = withErrno("close error ", errno);
    if (message.empty() && written != length)
        message =
            "only wrote " + std::to_string(written) + " of " + std::to_string(length) + " bytes";
    return message;
}

bool fail(const std::string& message) {
    filesInUse.object.recordFailure(message);
    return false;
}

bool failLoad(TiXmlDocument& document, int error) {
    document.Clear();
    document.SetError(error, nullptr, nullptr, TIXML_ENCODING_UNKNOWN);
    return false;
}

enum class Links { Follow, Refuse };

// Returns false, which treats the file as missing. Throws when errno says that the system is only
// short of descriptors or memory for now: the file may be there and whole.
bool treatAsMissing(const std::string& path) {
    if (errno == EMFILE || errno == ENFILE || errno == ENOMEM)
        throw std::system_error(errno, std::generic_category(), path);
    return false;
}

// Reads the file's text. Returns false when it is missing, no regular file, too large, or
// unreadable.
bool readRegularFile(const std::string& path, Links links, std::string& text) {
    // With O_NONBLOCK, opening a FIFO does not wait for its writer.
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | (links == Links::Refuse ? O_NOFOLLOW : 0);
    const int descriptor = open(path.c_str(), flags);
    if (descriptor < 0)
        return treatAsMissing(path);
    const FilePtr file(fdopen(descriptor, "rb"));
    if (!file) {
        close(descriptor);
        throw std::bad_alloc();
    }
    struct stat status {};
    if (fstat(descriptor, &status) != 0)
        return treatAsMissing(path);
    if (!S_ISREG(status.st_mode) || static_cast<uint64_t>(status.st_size) > LargestXmlFile)
        return false;
    text.resize(static_cast<size_t>(status.st_size));
    text.resize(std::fread(text.data(), 1, text.size(), file.get()));
    return std::ferror(file.get()) == 0 || treatAsMissing(path);
}

// Converts line ends as XML asks: a carriage return, alone or before a line feed, becomes one line
// feed.
void normalizeLineEnds(std::string& text) {
    size_t kept = 0;
    char before = '\0';
    for (const char c : text) {
        if (c != '\n' || before != '\r')
            text[kept++] = c == '\r' ? '\n' : c;
        before = c;
    }
    text.resize(kept);
}

// Loads a file as TinyXML's own LoadFile does, but without elements that could harm the parser.
bool loadRegularFile(TiXmlDocument& document, const std::string& path, Links links) {
    std::string text;
    if (!readRegularFile(path, links, text))
        return failLoad(document, TiXmlBase::TIXML_ERROR_OPENING_FILE);
    normalizeLineEnds(text);
    document.Clear();
    if (parseXml(document, text))
        return true;
    return document.Error() ? false : failLoad(document, TiXmlBase::TIXML_ERROR);
}

}  // namespace

bool SaveXmlFile(const TiXmlDocument& document, const char* path) {
    const std::string text = printDocument(document, Layout::Indented);
    if (text.size() > LargestXmlFile)
        return fail("too large: " + std::to_string(text.size()) + " bytes, a load takes " +
                    std::to_string(LargestXmlFile));
    const XmlFileGuard guard(path);
    const std::string pendingPath = pendingPathOf(path);
    if (const std::string message = writePending(pendingPath, text); !message.empty()) {
        unlink(pendingPath.c_str());
        return fail(message);
    }
    // ENOENT: another process has meanwhile renamed the pending file.
    if (std::rename(pendingPath.c_str(), path) != 0 && errno != ENOENT)
        return fail(withErrno("Failed to rename .xml.pending to .xml file ", errno));
    return true;
}

bool LoadXmlFile(TiXmlDocument& document, const char* path) {
    const XmlFileGuard guard(path);
    const std::string pendingPath = pendingPathOf(path);
    // A pending file that was cut off early may parse without error, but has no root element then.
    if (loadRegularFile(document, pendingPath, Links::Refuse) &&
        document.RootElement() != nullptr) {
        std::rename(pendingPath.c_str(), path);
        return true;
    }
    return loadRegularFile(document, path, Links::Follow);
}

std::string lastXmlSaveFailure() { return filesInUse.object.lastFailure(); }
