// Loads, runs and unloads the built library over and over: whatever one life leaves behind would
// fill the memory of a recorder that restarts its modules. PortAudio leaves some KiB behind each
// time it is initialised. That much is measured first, and allowed.
//
//   many_lives_test LIBRARY LOADS LIVES    LIVES of the module in each of LOADS of the library
//   many_lives_test LIBRARY record         one life that records and plays
#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "host/session/documents.h"
#include "host/session/module_host.h"
#include "real_module.h"

namespace {

using namespace std::chrono_literals;

bool live(const char* library, bool recording) {
    std::atomic<int> documents = 0;
    std::atomic<int> frames = 0;
    ModuleHost module(
        library,
        {.onDocument = [&](auto...) { ++documents; }, .onFrame = [&](auto...) { ++frames; }},
        LogError);
    const auto balances = [&module] {
        const BufferAccount account = module.buffers();
        return account.lent == account.returned && account.faults == 0;
    };
    module.start();
    bool lived = await(30s, [&] { return documents >= 2; });
    if (recording)
        lived = lived && module.configure(enablingDocument({2}, true, 0)) &&
                module.play(0x140113, std::vector<uint8_t>(2048, 0x90)) &&
                await(60s, [&] { return frames >= 2 && balances(); }) &&
                module.buffers(0).lent == 1 && module.buffers(0x140113).lent == 1 &&
                module.buffers(0x140113).returned == 1 && module.buffers(7).lent == 0;
    module.stop();
    return lived && balances();
}

// Returns by how many bytes the heap grows each time PortAudio alone is initialised and terminated.
size_t portAudioLeaves() {
    constexpr size_t Times = 10;
    void* portAudio = dlopen("libportaudio.so.2", RTLD_NOW);
    const auto initialize = reinterpret_cast<int (*)()>(dlsym(portAudio, "Pa_Initialize"));
    const auto terminate = reinterpret_cast<int (*)()>(dlsym(portAudio, "Pa_Terminate"));
    size_t before = 0;
    for (size_t i = 0; i <= Times; ++i) {
        if (i == 1)
            before = Footprint().heapBytes;
        initialize();
        terminate();
    }
    const size_t after = Footprint().heapBytes;
    dlclose(portAudio);
    return after > before ? (after - before) / Times : 0;
}

void show(const char* when, const Footprint& footprint) {
    std::printf("%s: %zu threads, %zu descriptors, heap %zu KiB\n", when, footprint.threads,
                footprint.descriptors, footprint.heapBytes / 1024);
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
        void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);  // stays loaded from life to life
        for (int i = 0; i < lives; ++i)
            succeeded = live(argv[1], recording) && succeeded;
        dlclose(library);
        if (load == 0)
            first = {};
    }
    const Footprint last;
    show("after the first load", first);
    show("at the end", last);
    std::printf("%d lives in %d loads; allowed %zu bytes a life\n", loads * lives, loads, allowed);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder);
    const auto livesSince = static_cast<size_t>((loads - 1) * lives);
    const bool isLevel = last.threads <= first.threads && last.descriptors <= first.descriptors &&
                         last.heapBytes <= first.heapBytes + allowed * livesSince;
    return succeeded && isLevel ? 0 : 1;
}
