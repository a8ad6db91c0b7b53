#include <cstdio>
#include <thread>

#include "host/clip.h"
#include "host/commands.h"
#include "host/display.h"
#include "host/player.h"

namespace {

using namespace std::chrono_literals;

}  // namespace

int runPlay(const Options& options) {
    const std::vector<uint8_t> clip = loadClip(options.clip);
    Session session(options.session);
    const ChannelDescription output = session.choose(options.outputs, true).front();
    session.enable({output}, GaplessBufferLength);

    Player player(session.module(), output.id, clip);
    while (session.running() && player.feed())
        std::this_thread::sleep_for(50ms);
    const double played = player.playedSeconds();
    const bool timeWasUp = !session.running();
    const bool accountsBalance = showAccount(session.finish());
    std::printf("played: %.2f s of %s on channel %d\n", played, options.clip.string().c_str(),
                output.number);
    if (played <= 0 || (!player.isDone() && !timeWasUp))
        throw std::runtime_error("the clip was not played");
    return accountsBalance ? Succeeded : Failed;
}
