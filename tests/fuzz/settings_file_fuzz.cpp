// Any content of settings files and pending files, read at two starts.
#include "fuzzed_module.h"

namespace {

class SettingsFiles : public FuzzedModule {
  public:
    explicit SettingsFiles(std::string_view input) {
        const size_t end = input.find(Separator);
        std::ofstream("tamborin.xml") << checked(input.substr(0, end));
        if (end != std::string_view::npos)
            std::ofstream("tamborin.xml.pending") << checked(input.substr(end + 1));
        fakeClock.onPause = [] { Close(); };
        run();
        expectSavedIsSent();
        nextLife();
        run();
        expectSavedIsSent();
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    SettingsFiles({reinterpret_cast<const char*>(data), size});
    return 0;
}
