// Configuration documents of the host, handled one after the other by the queue and the worker.
#include "fuzzed_module.h"

namespace {

class HostDocuments : public FuzzedModule {
  public:
    explicit HostDocuments(std::string_view input) {
        fakeClock.onPause = [&] {
            if (input.empty())
                return void(Close());
            const size_t end = std::min(input.find(Separator), input.size());
            configure(checked(input.substr(0, end)));
            input.remove_prefix(std::min(end + 1, input.size()));
        };
        run();
        expectSavedIsSent();
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    HostDocuments({reinterpret_cast<const char*>(data), size});
    return 0;
}
