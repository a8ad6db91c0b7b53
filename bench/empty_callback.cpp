// The least that a program on PortAudio can do: captures one channel as the module does, and throws
// it away. Until it is killed.
#include <portaudio.h>

namespace {

int callBack(const void* /*input*/, void* /*output*/, unsigned long /*frames*/,
             const PaStreamCallbackTimeInfo* /*time*/, PaStreamCallbackFlags /*flags*/,
             void* /*user*/) {
    return paContinue;
}

}  // namespace

int main() {
    PaStream* stream = nullptr;
    if (Pa_Initialize() != paNoError ||
        Pa_OpenDefaultStream(&stream, 1, 0, paInt16, 8000, 2048, callBack, nullptr) != paNoError ||
        Pa_StartStream(stream) != paNoError)
        return 1;
    for (;;)
        Pa_Sleep(1000);
}
