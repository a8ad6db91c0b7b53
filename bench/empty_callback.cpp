// The smallest program that captures with PortAudio: discards one channel's sound until it is
// killed. Its main loop pauses for the milliseconds that the argument says, or for 1000.
#include <portaudio.h>

#include <cstdlib>

namespace {

int callBack(const void* /*input*/, void* /*output*/, unsigned long /*frames*/,
             const PaStreamCallbackTimeInfo* /*time*/, PaStreamCallbackFlags /*flags*/,
             void* /*user*/) {
    return paContinue;
}

}  // namespace

int main(int argc, char** argv) {
    const long pause = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1000;
    PaStream* stream = nullptr;
    if (Pa_Initialize() != paNoError ||
        Pa_OpenDefaultStream(&stream, 1, 0, paInt16, 8000, 2048, callBack, nullptr) != paNoError ||
        Pa_StartStream(stream) != paNoError)
        return 1;
    for (;;)
        Pa_Sleep(pause);
}
