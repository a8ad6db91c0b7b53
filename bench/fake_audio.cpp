#include "bench/fake_audio.h"

#include <alsa/asoundlib.h>

#include <thread>

namespace {

const PaHostApiInfo hostApi{1, paALSA, "ALSA", 0, 0, 0};
const PaDeviceInfo inputDevice{2, "default", 0, 1, 0, 0.01, 0.01, 0.1, 0.1, 44100};
const PaDeviceInfo outputDevice{2, "default", 0, 0, 1, 0.01, 0.01, 0.1, 0.1, 44100};
const PaStreamInfo streamInfo{1, 0.5, 0.5, 8000};

}  // namespace

int Pa_GetVersion() { return 1246720; }
const char* Pa_GetVersionText() { return "PortAudio of the benchmarks"; }
const char* Pa_GetErrorText(PaError /*error*/) { return "error"; }
PaError Pa_Initialize() { return paNoError; }
PaError Pa_Terminate() { return paNoError; }
PaDeviceIndex Pa_GetDeviceCount() { return fakeAudio.inputs + fakeAudio.outputs; }
const PaDeviceInfo* Pa_GetDeviceInfo(PaDeviceIndex index) {
    return index < fakeAudio.inputs ? &inputDevice : &outputDevice;
}
PaHostApiIndex Pa_GetDefaultHostApi() { return 0; }
const PaHostApiInfo* Pa_GetHostApiInfo(PaHostApiIndex /*index*/) { return &hostApi; }
PaError Pa_IsFormatSupported(const PaStreamParameters* /*in*/, const PaStreamParameters* /*out*/,
                             double /*rate*/) {
    return paFormatIsSupported;
}
PaError Pa_OpenStream(PaStream** stream, const PaStreamParameters* in,
                      const PaStreamParameters* /*out*/, double /*rate*/, unsigned long /*frames*/,
                      PaStreamFlags /*flags*/, PaStreamCallback* callback, void* userData) {
    if (fakeAudio.opening.count() > 0)
        std::this_thread::sleep_for(fakeAudio.opening);
    auto* opened = new FakeStream{callback, userData, in != nullptr};
    fakeAudio.streams.push_back(opened);
    *stream = opened;
    ++fakeAudio.opened;
    return paNoError;
}
PaError Pa_StartStream(PaStream* /*stream*/) { return paNoError; }
PaError Pa_CloseStream(PaStream* stream) {
    std::erase(fakeAudio.streams, static_cast<FakeStream*>(stream));
    delete static_cast<FakeStream*>(stream);
    ++fakeAudio.closed;
    return paNoError;
}
PaError Pa_IsStreamActive(PaStream* /*stream*/) { return 1; }
const PaStreamInfo* Pa_GetStreamInfo(PaStream* /*stream*/) { return &streamInfo; }

int snd_card_next(int* card) {
    *card = -1;
    return 0;
}
