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
    EXPECT_TRUE(in == nullptr || out == nullptr);
    EXPECT_EQ(one.channelCount, 1);
    EXPECT_EQ(one.sampleFormat, paInt16);
    EXPECT_EQ(one.hostApiSpecificStreamInfo, nullptr);
    EXPECT_EQ(rate, 8000.0);
    EXPECT_EQ(one.suggestedLatency, in != nullptr ? 0.01 : 0.02);
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
    EXPECT_EQ(frames, 2048U);
    EXPECT_EQ(flags, paNoFlag);
    EXPECT_EQ(*stream, nullptr);
    note("Pa_OpenStream " + describe(in, out, rate));
    if (fakePortAudio.open != paNoError) {
        *stream = reinterpret_cast<PaStream*>(1);  // what a failed open may leave behind
        return fakePortAudio.open;
    }
    *stream = &fakePortAudio.streams.emplace_back(FakeStream{callback, userData, in != nullptr});
    return paNoError;
}
PaError Pa_StartStream(PaStream* stream) {
    note("Pa_StartStream");
    fakePortAudio.whileStarting(*static_cast<FakeStream*>(stream));
    return fakePortAudio.start;
}
PaError Pa_CloseStream(PaStream* stream) {
    note("Pa_CloseStream");
    fakePortAudio.whileClosing(*static_cast<FakeStream*>(stream));
    static_cast<FakeStream*>(stream)->active = paBadStreamPtr;
    return paNoError;
}
PaError Pa_IsStreamActive(PaStream* stream) { return static_cast<FakeStream*>(stream)->active; }
const PaStreamInfo* Pa_GetStreamInfo(PaStream* stream) {
    return Pa_IsStreamActive(stream) == paBadStreamPtr ? nullptr : &fakePortAudio.streamInfo;
}
