#include "audio/ask_device.h"

#include <alsa/asoundlib.h>

#include <cerrno>
#include <cstdarg>

// These symbols are weak, so that the module also loads with an ALSA library that lacks them.
// They are null then.
#pragma weak snd_pcm_open
#pragma weak snd_pcm_close
// Declared here because ALSA's header gives this C function the linkage of C++.
extern "C" [[gnu::weak]] snd_local_error_handler_t setErrorHandlerOfThread(
    snd_local_error_handler_t handler) __asm__("snd_lib_error_set_local");

namespace {

// Silences ALSA's error messages, which would otherwise go to the host's stderr at every question.
// Works on this thread only.
class QuietAlsa {
  public:
    QuietAlsa() : previous_(setErrorHandlerOfThread(ignore)) {}
    ~QuietAlsa() { setErrorHandlerOfThread(previous_); }
    QuietAlsa(const QuietAlsa&) = delete;
    QuietAlsa& operator=(const QuietAlsa&) = delete;

  private:
    static void ignore(const char* /*file*/, int /*line*/, const char* /*function*/, int /*error*/,
                       const char* /*format*/, va_list /*arguments*/) {}

    const snd_local_error_handler_t previous_;
};

// Returns the name by which ALSA knows the device, or null when it belongs to another host API.
const char* alsaName(PaDeviceIndex device) {
    const PaDeviceInfo* info = Pa_GetDeviceInfo(device);
    const PaHostApiInfo* hostApi = info != nullptr ? Pa_GetHostApiInfo(info->hostApi) : nullptr;
    return hostApi != nullptr && hostApi->type == paALSA ? info->name : nullptr;
}

}  // namespace

DeviceAnswer askDevice(PaDeviceIndex device, bool isInput) noexcept {
    const char* name = alsaName(device);
    if (name == nullptr || snd_pcm_open == nullptr || snd_pcm_close == nullptr ||
        setErrorHandlerOfThread == nullptr)
        return DeviceAnswer::CannotTell;
    const QuietAlsa quiet;
    snd_pcm_t* pcm = nullptr;
    const int error = snd_pcm_open(
        &pcm, name, isInput ? SND_PCM_STREAM_CAPTURE : SND_PCM_STREAM_PLAYBACK, SND_PCM_NONBLOCK);
    if (error < 0)
        return error == -EBUSY ? DeviceAnswer::Busy : DeviceAnswer::Away;
    snd_pcm_close(pcm);
    return DeviceAnswer::Openable;
}
