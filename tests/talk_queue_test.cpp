// What a talker's packets become: sound in order, silence for gaps, and nothing for what was
// dropped.
#include "host/serve/talk_queue.h"

#include <gtest/gtest.h>

#include <string>

#include "host/session/sound_format.h"

namespace {

constexpr size_t Packet = 400;  // samples
constexpr size_t Limit = size_t{3} * SampleRate;

// Returns the waiting sound as text: a letter for each packet, "_" for as much silence, and the
// rest's samples.
std::string heard(TalkQueue& queue) {
    std::vector<uint8_t> all;
    while (!queue.isEmpty()) {
        const auto block = queue.nextBlock();
        all.insert(all.end(), block.begin(), block.end());
    }
    std::string text;
    size_t at = 0;
    for (; at + Packet <= all.size(); at += Packet)
        text += all[at] == SilenceCode ? '_' : static_cast<char>(all[at]);
    return at < all.size() ? text + "+" + std::to_string(all.size() - at) : text;
}

bool put(TalkQueue& queue, int64_t number, char letter, size_t lent = 0) {
    const std::vector<uint8_t> codes(Packet, static_cast<uint8_t>(letter));
    return queue.put(number * int64_t{Packet}, codes, lent);
}

}  // namespace

TEST(TalkQueue, FillsGapsWithSilence) {
    TalkQueue queue(Limit);
    for (const auto& [number, letter] :
         {std::pair(7, 'a'), {8, 'b'}, {11, 'c'}, {10, 'd'}, {11, 'e'}})
        EXPECT_TRUE(put(queue, number, letter));
    EXPECT_EQ(heard(queue), "ab__cde");
    // The module gets silence meanwhile, which is a part of the talker's pause.
    queue.countSilence(3 * Packet);
    EXPECT_TRUE(put(queue, 17, 'f'));
    EXPECT_EQ(heard(queue), "__f");
    // A long pause becomes two seconds. A new talker's clock makes no gap. A short pause is
    // ignored.
    EXPECT_TRUE(put(queue, 1000, 'g'));
    EXPECT_EQ(heard(queue), std::string(40, '_') + "g");
    queue.beginTalker();
    EXPECT_TRUE(put(queue, 2000, 'h'));
    EXPECT_EQ(heard(queue), "h");
    EXPECT_TRUE(queue.put(2001 * int64_t{Packet} + 79, std::vector<uint8_t>(Packet, 'i'), 0));
    EXPECT_EQ(heard(queue), "i");
}

TEST(TalkQueue, LeavesNoGapWhereItDropsSound) {
    TalkQueue queue(Limit);
    constexpr int Fit = Limit / Packet;
    for (int number = 0; number < Fit; ++number)
        EXPECT_TRUE(put(queue, number, 'a'));
    for (int number = Fit; number < Fit + 50; ++number)
        EXPECT_FALSE(put(queue, number, 'b'));
    EXPECT_EQ(heard(queue), std::string(Fit, 'a'));
    EXPECT_TRUE(put(queue, Fit + 50, 'x'));
    EXPECT_EQ(heard(queue), "x");
    queue.drop((Fit + 51) * int64_t{Packet}, Packet);
    EXPECT_TRUE(put(queue, Fit + 52, 'c'));
    // A gap takes only the room that is left beside what the module has.
    EXPECT_TRUE(put(queue, Fit + 73, 'd', Limit - 4 * Packet));
    EXPECT_TRUE(put(queue, Fit + 74, 'e'));
    EXPECT_EQ(heard(queue), "c__de");
}

TEST(TalkQueue, TakesAsMuchOfAClipAsThereIsRoomFor) {
    TalkQueue queue(3 * Packet);
    const std::vector<uint8_t> codes(2 * Packet, 'a');
    EXPECT_TRUE(queue.append(codes));
    EXPECT_FALSE(queue.append(codes));
    EXPECT_EQ(queue.room(), Packet);
    queue.clear();
    EXPECT_EQ(queue.room(), 3 * Packet);
}
