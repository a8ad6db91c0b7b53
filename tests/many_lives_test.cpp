// The built library loaded, run and unloaded over and over: what one life leaves behind would fill
// a recorder that restarts its modules. PortAudio itself leaves some KiB behind each time that it
// is initialised; that much is measured first, and allowed.
//
//   many_lives_test LIBRARY LOADS LIVES    LIVES of the module in each of LOADS of the library
//   many_lives_test LIBRARY record         one life that records and plays
#include <dlfcn.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <thread>
#include <vector>

#include "plugin/tamborin.h"

namespace {

using namespace std::chrono_literals;

std::atomic<int> descriptions;
std::atomic<int> frames;
std::atomic<int> releases;

int32_t receive(const HostMessage* message, int32_t /*reserved*/) {
    descriptions += message->kind == KindModuleDocument ? 1 : 0;
    frames += message->kind == KindAudio ? 1 : 0;
    releases += message->kind == KindBufferRelease ? 1 : 0;
    return message->type == TypeLogLevelQuery ? LogError : 0;
}

bool await(const std::atomic<int>& count, int wanted) {
    for (int i = 0; i < 3000 && count < wanted; ++i)
        std::this_thread::sleep_for(10ms);
    return count >= wanted;
}

struct Library {
    explicit Library(const char* path) : handle(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (handle == nullptr) {
            std::fprintf(stderr, "%s\n", dlerror());
            std::exit(1);
        }
    }
    ~Library() { dlclose(handle); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    template <typename Function>
    Function* operator()(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }
    void* handle;
};

bool record(const Library& module) {
    const std::string_view text =
        "<Varo><Devices ID='1310720'><Device><Codec><Encoder><AudioChannel Number='2' Enabled='1'/>"
        "</Encoder></Codec></Device></Devices></Varo>";
    IoctlRequest request{};
    request.code = IoctlConfiguration;
    request.length = static_cast<uint32_t>(text.size());
    request.data = text.data();
    IoctlResult taken{};
    module.operator()<decltype(::IOCTL)>("IOCTL")(&request, &taken);
    const std::vector<uint8_t> codes(2048, 0x90);
    WriteRecord block{};
    block.length = static_cast<uint32_t>(codes.size());
    block.data = codes.data();
    block.targetId = 0x140113;
    block.type = TypeAudio;
    WriteResult written{};
    module.operator()<decltype(::Write)>("Write")(&block, &written);
    return await(frames, 2) && await(releases, 2);
}

bool live(const Library& module, bool recording) {
    descriptions = frames = releases = 0;
    const HostTable table{{}, receive};
    ModuleInfo info{};
    module.operator()<decltype(::Load)>("Load")(&table, &info);
    module.operator()<decltype(::Open)>("Open")();
    std::thread worker([&module] {
        IoctlRequest request{};
        request.code = IoctlRun;
        IoctlResult none{};
        module.operator()<decltype(::IOCTL)>("IOCTL")(&request, &none);
    });
    const bool lived = await(descriptions, 2) && (!recording || record(module));
    module.operator()<decltype(::Close)>("Close")();
    worker.join();
    module.operator()<decltype(::Unload)>("Unload")();
    return lived;
}

struct Footprint {
    static size_t entries(const char* folder) {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
    }
    size_t threads = entries("/proc/self/task");
    size_t descriptors = entries("/proc/self/fd");
    size_t heap = mallinfo2().uordblks;

    void show(const char* when) const {
        std::printf("%s: %zu threads, %zu descriptors, heap %zu KiB\n", when, threads, descriptors,
                    heap / 1024);
    }
};

// What the heap grows by, in bytes, each time that PortAudio comes and goes by itself.
size_t portAudioLeaves() {
    constexpr size_t Times = 10;
    const Library portAudio("libportaudio.so.2");
    size_t before = 0;
    for (size_t i = 0; i <= Times; ++i) {
        if (i == 1)
            before = mallinfo2().uordblks;
        portAudio.operator()<int()>("Pa_Initialize")();
        portAudio.operator()<int()>("Pa_Terminate")();
    }
    return (mallinfo2().uordblks - before) / Times;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    std::string folder = std::filesystem::temp_directory_path() / "tamborin-lives-XXXXXX";
    std::filesystem::current_path(mkdtemp(folder.data()));
    const bool recording = std::string_view(argv[2]) == "record";
    const int loads = recording ? 1 : std::atoi(argv[2]);
    const int lives = recording ? 1 : std::atoi(argv[3]);
    const size_t allowed = recording ? 0 : portAudioLeaves() + 1024;  // bytes a life
    bool succeeded = true;
    Footprint first;
    for (int load = 0; load < loads; ++load) {
        const Library module(argv[1]);
        for (int i = 0; i < lives; ++i)
            succeeded = live(module, recording) && succeeded;
        if (load == 0)
            first = {};
    }
    const Footprint last;
    first.show("after the first load");
    last.show("at the end");
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder);
    const size_t livesSince = static_cast<size_t>((loads - 1) * lives);
    const bool isLevel = last.threads <= first.threads && last.descriptors <= first.descriptors &&
                         last.heap <= first.heap + allowed * livesSince;
    std::printf("%d lives in %d loads; PortAudio leaves %zu bytes a life\n", loads * lives, loads,
                allowed);
    return succeeded && isLevel ? 0 : 1;
}
