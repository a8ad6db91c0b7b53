#include "host/serve/audio_stream.h"

#include <algorithm>
#include <array>

#include "host/serve/main_loop.h"
#include "host/sound/wav_stream.h"

namespace {

template <size_t Bytes>
void appendNumber(std::string& text, uint64_t value) {
    for (size_t i = 0; i < Bytes; ++i)
        text += static_cast<char>(value >> (8 * i) & 0xFFU);
}

std::string timedHeadOf(const ServedFrame& frame) {
    std::string head;
    appendNumber<8>(head, static_cast<uint64_t>(frame.milliseconds));
    appendNumber<4>(head, frame.codes.size());
    return head;
}

}  // namespace

struct AudioStreams::Impl {
    struct Client {
        std::shared_ptr<ClientStream> stream;
        AudioFraming framing;
    };
    struct Input {
        std::unique_ptr<Listening> listening;
        std::vector<Client> clients;
    };

    explicit Impl(Hub& hub_) : hub(hub_) {}

    void pass(int number, const FramePointer& frame) {
        const auto input = inputs.find(number);
        if (input == inputs.end())
            return;
        const std::vector<Client> clients = input->second.clients;  // a copy: dropped clients leave
        const Chunk timedHead = chunkOf(timedHeadOf(*frame));
        for (const Client& client : clients) {
            if (client.framing == AudioFraming::Timed)
                client.stream->send(timedHead);
            client.stream->send({frame, frame->codes});
        }
    }

    void remove(int number, const ClientStream* client) {
        const auto input = inputs.find(number);
        if (input == inputs.end())
            return;
        std::erase_if(input->second.clients,
                      [&](const Client& one) { return one.stream.get() == client; });
        if (input->second.clients.empty())
            inputs.erase(input);
        else
            input->second.listening->setClients(static_cast<int>(input->second.clients.size()));
    }

    Hub& hub;
    std::map<int, Input> inputs;
};

AudioStreams::AudioStreams(Hub& hub) : impl_(std::make_shared<Impl>(hub)) {}

AudioStreams::~AudioStreams() {
    for (auto& [number, input] : impl_->inputs)
        for (const Impl::Client& client : input.clients)
            client.stream->abandon();
    impl_->inputs.clear();
}

size_t AudioStreams::clients() const {
    size_t count = 0;
    for (const auto& [number, input] : impl_->inputs)
        count += input.clients.size();
    return count;
}

void AudioStreams::add(int number, AudioFraming framing,
                       const std::shared_ptr<ClientStream>& client) {
    const std::weak_ptr<Impl> weak = impl_;
    Impl::Input& input = impl_->inputs[number];
    if (framing == AudioFraming::Wav)
        client->send(chunkOf(wavStreamHeader()));
    input.clients.push_back({client, framing});
    client->watch([weak, number, gone = client.get()] {
        if (const auto self = weak.lock())
            self->remove(number, gone);
    });
    if (input.listening != nullptr)
        return input.listening->setClients(static_cast<int>(input.clients.size()));
    input.listening = impl_->hub.listen(number, [weak, number](const FramePointer& frame) {
        post([weak, number, frame] {
            if (const auto self = weak.lock())
                self->pass(number, frame);
        });
    });
    if (input.listening == nullptr) {
        client->abandon();
        impl_->inputs.erase(number);
    }
}
