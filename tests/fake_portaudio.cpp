#include "fake_portaudio.h"

#include "trace.h"

namespace {

template <typename T>
const T* at(const std::vector<T>& all, int index) {
    return index >= 0 && index < static_cast<int>(all.size()) ? &all[static_cast<size_t>(index)]
                                                              : nullptr;
}

std::string describe(const PaStreamParameters* in, const PaStreamParameters* out, double rate) {
    const PaStreamParameters& one = in != nullptr ? *in : *out;
    const bool isAsMeant = (in == nullptr || out == nullptr) && one.channelCount == 1 &&
                           one.sampleFormat == paInt16 &&
                           one.hostApiSpecificStreamInfo == nullptr && rate == 8000.0 &&
                           one.suggestedLatency == (in != nullptr ? 0.01 : 0.02);
    if (!isAsMeant)
        fakePortAudio.wrongCalls += "stream parameters; ";
    return (in != nullptr ? "input " : "output ") + std::to_string(one.device);
}

}  // namespace

int Pa_GetVersion() { return 1246720; }
const char* Pa_GetVersionText() { return "PortAudio of the test"; }
const char* Pa_GetErrorText(PaError error) { return error == -9998 ? "Invalid channels" : "text"; }
PaError Pa_Initialize() {
    note("Pa_Initialize");
    return fakePortAudio.initialize;
}
PaError Pa_Terminate() {
    note("Pa_Terminate");
    return paNoError;
}
PaDeviceIndex Pa_GetDeviceCount() {
    return fakePortAudio.deviceCountError != 0 ? fakePortAudio.deviceCountError
                                               : static_cast<int>(fakePortAudio.devices.size());
}
const PaDeviceInfo* Pa_GetDeviceInfo(PaDeviceIndex index) {
    const PaDeviceInfo* info = at(fakePortAudio.devices, index);
    if (info == nullptr)
        fakePortAudio.wrongCalls += "Pa_GetDeviceInfo; ";
    return info != nullptr && info->name == WithoutInfo ? nullptr : info;
}
PaHostApiIndex Pa_GetDefaultHostApi() { return fakePortAudio.defaultHostApi; }
const PaHostApiInfo* Pa_GetHostApiInfo(PaHostApiIndex index) {
    return at(fakePortAudio.hostApis, index);
}
PaError Pa_IsFormatSupported(const PaStreamParameters* in, const PaStreamParameters* out,
                             double rate) {
    describe(in, out, rate);
    return fakePortAudio.formatErrors[{(in != nullptr ? in : out)->device, in != nullptr}];
}

PaError Pa_OpenStream(PaStream** stream, const PaStreamParameters* in,
                      const PaStreamParameters* out, double rate, unsigned long frames,
                      PaStreamFlags flags, PaStreamCallback* callback, void* userData) {
    const EnoughMemory enough;
    if (frames != 2048 || flags != paNoFlag || *stream != nullptr)
        fakePortAudio.wrongCalls += "Pa_OpenStream; ";
    note("Pa_OpenStream " + describe(in, out, rate));
    if (fakePortAudio.openResult != paNoError) {
        *stream = reinterpret_cast<PaStream*>(1);  // what a failed open may leave behind
        return fakePortAudio.openResult;
    }
    FakeStream& opened =
        fakePortAudio.streams.emplace_back(FakeStream{callback, userData, in != nullptr});
    fakePortAudio.open.push_back(&opened);
    *stream = &opened;
    return paNoError;
}
PaError Pa_StartStream(PaStream* stream) {
    note("Pa_StartStream");
    fakePortAudio.whileStarting(*static_cast<FakeStream*>(stream));
    return fakePortAudio.startResult;
}
PaError Pa_CloseStream(PaStream* stream) {
    note("Pa_CloseStream");
    fakePortAudio.whileClosing(*static_cast<FakeStream*>(stream));
    static_cast<FakeStream*>(stream)->active = paBadStreamPtr;
    std::erase(fakePortAudio.open, static_cast<FakeStream*>(stream));
    return paNoError;
}
PaError Pa_IsStreamActive(PaStream* stream) { return static_cast<FakeStream*>(stream)->active; }
const PaStreamInfo* Pa_GetStreamInfo(PaStream* stream) {
    return Pa_IsStreamActive(stream) == paBadStreamPtr ? nullptr : &fakePortAudio.streamInfo;
}
