#include "bench/module.h"

#include <alsa/asoundlib.h>

#include <cstdlib>

int snd_card_next(int* card) {
    *card = -1;  // no sound cards
    return 0;
}

Module::Module(int inputs, int outputs) {
    char name[] = "/tmp/tamborin-bench-XXXXXX";
    folder_ = mkdtemp(name);
    std::filesystem::current_path(folder_);
    fakePortAudio = {};
    fakePortAudio.hostApis.push_back({1, paALSA, "ALSA", 0, 0, 0});
    for (int device = 0; device < inputs + outputs; ++device)
        fakePortAudio.addDevice("default", device < inputs ? 1 : 0, device < inputs ? 0 : 1);
    onMessage = [](const HostMessage&) {};
    HostTable table{};
    table.hostCallback = receive;
    ModuleInfo info{};
    Load(&table, &info);
}

Module::~Module() {
    Unload();
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder_);
}

void Module::run() {
    IoctlRequest request{};
    request.code = IoctlRun;
    IoctlResult result{};
    IOCTL(&request, &result);
}

bool Module::configure(const std::string& document, int32_t code) {
    IoctlRequest request{};
    request.code = code;
    request.length = static_cast<uint32_t>(document.size());
    request.data = document.data();
    IoctlResult result{};
    IOCTL(&request, &result);
    return result.accepted == 1;
}

bool Module::write(int32_t channel, const uint8_t* codes, uint32_t count) {
    WriteRecord record{};
    record.length = count;
    record.data = codes;
    record.targetId = channel;
    record.type = TypeAudio;
    WriteResult result{};
    Write(&record, &result);
    return result.accepted == 1;
}

int32_t Module::receive(const HostMessage* message, int32_t /*reserved*/) {
    if (message->kind == KindLog)
        return 2 * LogError;  // no lines are wanted
    onMessage(*message);
    return 0;
}

std::string documentOf(int inputs, int outputs) {
    std::string audio;
    std::string encoder;
    for (int number = 0; number < inputs + outputs; ++number) {
        const std::string attribute = " Number=\"" + std::to_string(number) + "\"";
        audio += "<Input" + attribute + " Name=\"Channel " + std::to_string(number) + "\"" +
                 (number < inputs ? "" : " Output=\"1\"") +
                 "><Schedule><Entry FirstHour=\"0\" LastHour=\"167\" Record=\"1\"/></Schedule>"
                 "</Input>";
        encoder += "<AudioChannel" + attribute + " Enabled=\"1\"/>";
    }
    return "<Varo><Devices ID=\"1310720\"><Device Number=\"1\"><Audio>" + audio +
           "</Audio><Codec><Encoder Number=\"0\">" + encoder +
           "</Encoder></Codec></Device></Devices></Varo>";
}
