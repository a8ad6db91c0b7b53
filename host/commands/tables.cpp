#include "host/commands/tables.h"

#include <algorithm>

#include "host/terminal/text.h"

namespace {

constexpr size_t NameWidth = 24;

std::string rightAligned(const std::string& text, size_t columns) {
    return std::string(columns - std::min(columns, text.size()), ' ') + text;
}

std::string withDecimals(double value) {
    const std::string text = std::to_string(value);
    return text.substr(0, text.find('.') + 3);
}

std::string filesOf(const Recording& recording) {
    if (recording.files == 0)
        return "none";
    const std::string first = recording.firstFile.string();
    const size_t others = recording.files - 1;
    return others == 0 ? first : first + " and " + std::to_string(others) + " more";
}

}  // namespace

void showChannels(Console& console, const std::vector<ChannelDescription>& channels) {
    console.result("number  kind    enabled  " + fitted("name", NameWidth) + "  device");
    for (const ChannelDescription& channel : channels)
        console.result(Line{{rightAligned(std::to_string(channel.number), 6) +
                             (channel.isOutput ? "  output" : "  input ") +
                             (channel.enabled ? "  yes    " : "  no     ") + "  " +
                             fitted(channel.name, std::max(NameWidth, columnsOf(channel.name))) +
                             "  " + channel.device},
                            {channel.hasDevice ? "" : " (missing)", Colour::Yellow}});
}

void showRecordings(Console& console, const std::vector<Recording>& recordings) {
    console.remark("channel  frames   seconds  gaps            peak         file");
    for (const Recording& recording : recordings) {
        const std::string gaps =
            fitted(recording.gaps == 0 ? "none"
                                       : std::to_string(recording.gaps) + " (" +
                                             withDecimals(recording.gapSeconds) + " s)",
                   14);
        console.remark(
            Line{{rightAligned(std::to_string(recording.channel.number), 7) + "  " +
                  rightAligned(std::to_string(recording.frames), 6) + "  " +
                  rightAligned(withDecimals(recording.seconds()), 8) + "  "},
                 {gaps, recording.gaps == 0 ? Colour::None : Colour::Yellow},
                 {"  " + fitted(inDecibels(recording.peak), 11) + "  " + filesOf(recording)}});
    }
}

bool showAccount(Console& console, const BufferAccount& account) {
    console.remark("buffers: " + std::to_string(account.lent) + " lent, " +
                   std::to_string(account.returned) + " returned");
    const bool balances = account.lent == account.returned && account.faults == 0;
    if (!balances)
        console.error("the module's buffers do not balance: " + std::to_string(account.lent) +
                      " lent, " + std::to_string(account.returned) + " returned, " +
                      std::to_string(account.faults) + " returned that were not lent");
    return balances;
}

std::vector<std::string> levelLines(const std::vector<Recording>& recordings) {
    constexpr size_t Width = 40;
    std::vector<std::string> lines;
    lines.reserve(recordings.size());
    for (const Recording& recording : recordings)
        lines.push_back(fitted("channel " + std::to_string(recording.channel.number), 11) + "[" +
                        bar(filledCells(recording.level, Width), Width) + "] " +
                        (recording.frames == 0 ? "waiting" : inDecibels(recording.level)));
    return lines;
}
