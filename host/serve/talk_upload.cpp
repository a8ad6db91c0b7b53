#include "host/serve/talk_upload.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "host/serve/connections.h"
#include "host/serve/http_answer.h"
#include "host/serve/talk_beginning.h"
#include "host/serve/upload_decoder.h"
#include "host/session/sound_format.h"

namespace {

constexpr guint FlowInterval = 50;  // ms

std::span<const uint8_t> bytesOf(GBytes* chunk) {
    gsize size = 0;
    const void* const data = g_bytes_get_data(chunk, &size);
    return {static_cast<const uint8_t*>(data), size};
}

}  // namespace

class TalkUploads::Upload {
  public:
    Upload(SoupServerMessage* message, UploadType type, std::unique_ptr<Talk> talk)
        : message_(static_cast<SoupServerMessage*>(g_object_ref(message))),
          connection_(Connections::of(message)),
          talk_(std::move(talk)),
          decoder_(type) {
        g_signal_connect(message, "got-chunk",
                         G_CALLBACK(+[](SoupServerMessage*, GBytes* chunk, gpointer self) {
                             static_cast<Upload*>(self)->take(bytesOf(chunk));
                         }),
                         this);
        connection_->allow(TalkPatience);
    }
    ~Upload() {
        g_signal_handlers_disconnect_by_data(message_.get(), this);
        if (timer_ != 0)
            g_source_remove(timer_);
    }
    Upload(const Upload&) = delete;
    Upload& operator=(const Upload&) = delete;

    void answerEnd() {
        try {
            decoder_.end();
            const double seconds = static_cast<double>(taken_) / SampleRate;
            answerJson(message_.get(), SOUP_STATUS_OK, {{"samples", taken_}, {"seconds", seconds}});
        } catch (const UploadError& error) {
            answerError(message_.get(), SOUP_STATUS_UNSUPPORTED_MEDIA_TYPE, error.what());
        }
    }

  private:
    void take(std::span<const uint8_t> bytes) {
        if (talk_ == nullptr)
            return;
        connection_->allow(TalkPatience);
        try {
            decoder_.take(bytes, waiting_);
        } catch (const UploadError& error) {
            talk_.reset();
            return refuse(message_.get(), SOUP_STATUS_UNSUPPORTED_MEDIA_TYPE, error.what());
        }
        flow();
        if (waiting_.empty())
            return;
        soup_server_message_pause(message_.get());
        timer_ = g_timeout_add(
            FlowInterval,
            [](gpointer self) -> gboolean {
                return static_cast<Upload*>(self)->flowOn() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
            },
            this);
    }

    void flow() {
        const size_t count = std::min(talk_->room(), waiting_.size());
        if (count == 0 || !talk_->append(std::span(waiting_).first(count)))
            return;
        waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(count));
        taken_ += count;
        connection_->allow(TalkPatience);
    }

    // Returns true while sound waits. Meanwhile the request is not read.
    bool flowOn() {
        if (connection_->isDropped()) {  // libsoup sees that only when it reads again
            waiting_.clear();
            talk_.reset();
        } else {
            flow();
        }
        if (!waiting_.empty())
            return true;
        timer_ = 0;
        soup_server_message_unpause(message_.get());
        return false;
    }

    const ObjectPointer<SoupServerMessage> message_;
    const std::shared_ptr<Connection> connection_;
    std::unique_ptr<Talk> talk_;
    UploadDecoder decoder_;
    std::vector<uint8_t> waiting_;  // codes that the output has no room for yet
    uint64_t taken_ = 0;
    guint timer_ = 0;
};

TalkUploads::TalkUploads(Hub& hub) : hub_(hub) {}

TalkUploads::~TalkUploads() {
    for (const auto& [message, upload] : uploads_)
        g_signal_handlers_disconnect_by_data(message, this);
}

void TalkUploads::begin(SoupServerMessage* message, int number) {
    const char* const type = soup_message_headers_get_content_type(
        soup_server_message_get_request_headers(message), nullptr);
    const UploadType uploadType = uploadTypeOf(type == nullptr ? "" : type);
    if (uploadType == UploadType::None)
        return refuse(message, SOUP_STATUS_UNSUPPORTED_MEDIA_TYPE,
                      "The sound must be audio/basic (mu-law, 8000 Hz) or audio/wav.");
    if (Connections::of(message) == nullptr)
        return;
    TalkBeginning beginning = tryTalk(hub_, number);
    if (beginning.talk == nullptr)
        return refuse(message, beginning.status, beginning.sentence);
    uploads_[message] = std::make_unique<Upload>(message, uploadType, std::move(beginning.talk));
    g_signal_connect(message, "finished", G_CALLBACK(+[](SoupServerMessage* gone, gpointer self) {
                         static_cast<TalkUploads*>(self)->uploads_.erase(gone);
                     }),
                     this);
}

void TalkUploads::end(SoupServerMessage* message) {
    const auto upload = uploads_.find(message);
    if (upload == uploads_.end())
        return answerError(message, SOUP_STATUS_BAD_REQUEST, "The request has no sound.");
    upload->second->answerEnd();
    g_signal_handlers_disconnect_by_data(message, this);
    uploads_.erase(upload);
}
