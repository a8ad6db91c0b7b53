// The doctor examines ALSA's "default", from which the module records when no sound server runs.
#include <alsa/asoundlib.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string_view>

#include "host/doctor/examinations.h"

namespace {

using Verdict = Finding::Verdict;

constexpr unsigned SamplesPerMs = AudioSampleRate / 1000;
constexpr snd_pcm_uframes_t CallbackSamples = AudioFrameSamples;
// Separates ALSA's own dsnoop (42 ms) from two periods as long as a callback (512 ms).
constexpr unsigned EnoughMs = 3 * CallbackSamples / 2 / SamplesPerMs;

struct Closer {
    void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
    void operator()(snd_pcm_hw_params_t* parameters) const { snd_pcm_hw_params_free(parameters); }
    void operator()(snd_output_t* output) const { snd_output_close(output); }
};

std::string firstComplaint;

// ALSA's first error message tells the cause, the later ones only what else failed because of it.
void keepFirstComplaint(const char* /*file*/, int /*line*/, const char* /*function*/, int /*error*/,
                        const char* format, ...) {
    std::array<char, 256> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (firstComplaint.empty())
        firstComplaint = text.data();
}

// Collects ALSA's error messages, which go to stderr otherwise. No other thread may use ALSA
// meanwhile.
class Complaints {
  public:
    Complaints() {
        firstComplaint.clear();
        snd_lib_error_set_handler(keepFirstComplaint);
    }
    ~Complaints() { snd_lib_error_set_handler(nullptr); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;
};

std::string complaint() { return firstComplaint.empty() ? "" : "; ALSA says: " + firstComplaint; }

// Looks for dsnoop in the text of snd_pcm_dump, which alone names the chain of plug-ins.
bool goesThroughDsnoop(snd_pcm_t* pcm) {
    snd_output_t* opened = nullptr;
    if (snd_output_buffer_open(&opened) < 0)
        return false;
    const std::unique_ptr<snd_output_t, Closer> output(opened);
    snd_pcm_dump(pcm, opened);
    char* text = nullptr;
    const size_t length = snd_output_buffer_string(opened, &text);
    return std::string_view(text, length).find("Direct Snoop PCM") != std::string_view::npos;
}

// Returns the length in ms of the buffer that PortAudio will ask for: two periods, each as close to
// a callback's length as the device allows. Returns 0 if it refuses 16-bit mono at 8000 Hz.
unsigned bufferMsOf(snd_pcm_t* pcm) {
    snd_pcm_hw_params_t* made = nullptr;
    if (snd_pcm_hw_params_malloc(&made) < 0)
        return 0;
    const std::unique_ptr<snd_pcm_hw_params_t, Closer> parameters(made);
    snd_pcm_uframes_t period = CallbackSamples;
    snd_pcm_uframes_t longest = 0;
    int direction = 0;
    const bool isPossible =
        snd_pcm_hw_params_any(pcm, made) >= 0 &&
        snd_pcm_hw_params_set_format(pcm, made, SND_PCM_FORMAT_S16) >= 0 &&
        snd_pcm_hw_params_set_channels(pcm, made, 1) >= 0 &&
        snd_pcm_hw_params_set_rate(pcm, made, 1000 * SamplesPerMs, 0) >= 0 &&
        snd_pcm_hw_params_set_period_size_near(pcm, made, &period, &direction) >= 0 &&
        snd_pcm_hw_params_get_buffer_size_max(made, &longest) >= 0;
    return isPossible ? static_cast<unsigned>(std::min(2 * period, longest) / SamplesPerMs) : 0;
}

}  // namespace

Findings examineDefault(const SoundServer& server) {
    if (server.hangs)
        return {{Verdict::Note, "not examined: it may lead to the sound server", ""}};
    const Complaints complaints;
    snd_pcm_t* opened = nullptr;
    const int error = snd_pcm_open(&opened, "default", SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);
    if (error < 0)
        return {{Verdict::Note,
                 std::string("'default' cannot be opened to record: ") + snd_strerror(error) +
                     complaint(),
                 ""}};
    const std::unique_ptr<snd_pcm_t, Closer> pcm(opened);
    const unsigned bufferMs = bufferMsOf(opened);
    if (bufferMs == 0)
        return {{Verdict::Note, "'default' cannot record mono at 8000 Hz" + complaint(),
                 "make 'default' of type plug; a dsnoop needs a buffer of at least two periods"}};
    if (!goesThroughDsnoop(opened) || bufferMs >= EnoughMs)
        return {{Verdict::Good, "'default' can record", ""}};
    return {{Verdict::Note,
             "'default' records through dsnoop, whose periods leave PortAudio a buffer of " +
                 std::to_string(bufferMs) +
                 " ms: frames are lost whenever the machine is busy for longer",
             "let 'default' in /etc/asound.conf lead to 'plug' on 'hw', or to a dsnoop with long "
             "periods and a buffer of a second"}};
}
