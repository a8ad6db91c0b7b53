#include "host/session/log_lines.h"

#include <array>
#include <charconv>

namespace {

using Kind = LogFact::Kind;

std::optional<LogFact> restart(std::string_view line) {
    for (const std::string_view beginning : {"Input stream ", "Restarting output stream "}) {
        int32_t channelId = 0;
        if (line.starts_with(beginning) &&
            std::from_chars(line.data() + beginning.size(), line.data() + line.size(), channelId)
                    .ec == std::errc{})
            return LogFact{.kind = Kind::StreamRestarted, .channelId = channelId};
    }
    return std::nullopt;
}

// The text that follows the name of an ignored device. The name itself may contain brackets.
struct Ending {
    std::string_view text;
    Kind kind;
};
constexpr std::array Endings{Ending{"] that can crash", Kind::DeviceNotAllowed},
                             Ending{"] non-default API", Kind::DeviceOfOtherApi},
                             Ending{"] - ", Kind::FormatRefused}};

// `rest` begins with the device's name.
std::optional<LogFact> ignoredDevice(std::string_view rest) {
    for (const Ending& ending : Endings) {
        const size_t end = rest.find(ending.text);
        if (end == std::string_view::npos)
            continue;
        LogFact fact{.kind = ending.kind, .device = std::string(rest.substr(0, end))};
        if (ending.kind == Kind::FormatRefused)
            fact.reason = rest.substr(end + ending.text.size());
        return fact;
    }
    return std::nullopt;
}

// Reads a text such as "input device 0 [default] (default)".
LogFact foundDevice(std::string_view rest) {
    const size_t begin = rest.find('[') + 1;
    return {.kind = Kind::DeviceFound,
            .device = std::string(rest.substr(begin, rest.rfind(']') - begin)),
            .isInput = rest.starts_with("input"),
            .isDefault = rest.ends_with("(default)")};
}

}  // namespace

std::optional<LogFact> understandLogLine(std::string_view line) {
    constexpr std::string_view Found = "PORTAUDIO: Found ";
    constexpr std::string_view Ignored = "PORTAUDIO: Ignore device [";
    if (line.starts_with(Found))
        return foundDevice(line.substr(Found.size()));
    if (line.starts_with(Ignored))
        return ignoredDevice(line.substr(Ignored.size()));
    if (line.starts_with("PORTAUDIO: Failed ") || line.starts_with("Portaudio failed "))
        return LogFact{.kind = Kind::PortAudioFailed};
    return restart(line);
}
