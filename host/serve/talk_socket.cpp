#include "host/serve/talk_socket.h"

#include <algorithm>
#include <utility>

#include "host/serve/talk_beginning.h"

namespace {

constexpr guint64 MostMessageBytes = 8192;
constexpr gushort Refused = 4000;  // plus the HTTP status; 4000 to 4999 are for applications

}  // namespace

class TalkSockets::Socket {
  public:
    Socket(TalkSockets& owner, SoupWebsocketConnection* socket, TalkBeginning beginning,
           std::shared_ptr<Connection> connection)
        : owner_(owner),
          socket_(static_cast<SoupWebsocketConnection*>(g_object_ref(socket))),
          connection_(std::move(connection)),
          talk_(std::move(beginning.talk)) {
        soup_websocket_connection_set_max_incoming_payload_size(socket, MostMessageBytes);
        // Newer versions of libsoup limit a message of several frames as well.
        constexpr const char* WholeLimit = "max-total-message-size";
        if (g_object_class_find_property(G_OBJECT_GET_CLASS(socket), WholeLimit) != nullptr)
            g_object_set(socket, WholeLimit, MostMessageBytes, nullptr);
        g_signal_connect(
            socket, "message",
            G_CALLBACK(+[](SoupWebsocketConnection*, gint type, GBytes* message, gpointer self) {
                if (type == SOUP_WEBSOCKET_DATA_BINARY)
                    static_cast<Socket*>(self)->take(message);
            }),
            this);
        g_signal_connect(socket, "closed", G_CALLBACK(+[](SoupWebsocketConnection*, gpointer self) {
                             static_cast<Socket*>(self)->remove();
                         }),
                         this);
        if (talk_ == nullptr) {
            close(static_cast<gushort>(Refused + beginning.status), beginning.sentence);
            return;
        }
        soup_websocket_connection_send_text(socket, "{\"talking\": true}");
        timer_ = g_timeout_add_seconds(
            TalkPatience.count(),
            [](gpointer self) -> gboolean {
                return static_cast<Socket*>(self)->look() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
            },
            this);
    }
    ~Socket() {
        g_signal_handlers_disconnect_by_data(socket_.get(), this);
        if (timer_ != 0)
            g_source_remove(timer_);
        if (connection_ != nullptr)
            connection_->drop();
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

  private:
    void take(GBytes* message) {
        gsize size = 0;
        const void* const data = g_bytes_get_data(message, &size);
        hasSpoken_ = true;
        // A client that sends faster than real time loses what does not fit.
        if (talk_ != nullptr)
            talk_->append({static_cast<const uint8_t*>(data), size});
    }

    bool look() {
        if (std::exchange(hasSpoken_, false))
            return true;
        timer_ = 0;
        close(SOUP_WEBSOCKET_CLOSE_NORMAL, "Nothing was sent for ten seconds.");
        return false;
    }

    void close(gushort code, const std::string& sentence) {
        talk_.reset();
        soup_websocket_connection_close(socket_.get(), code, sentence.c_str());
    }

    void remove() {
        std::erase_if(owner_.sockets_, [this](const auto& one) { return one.get() == this; });
    }

    TalkSockets& owner_;
    const ObjectPointer<SoupWebsocketConnection> socket_;
    const std::shared_ptr<Connection> connection_;
    std::unique_ptr<Talk> talk_;
    bool hasSpoken_ = true;
    guint timer_ = 0;
};

TalkSockets::TalkSockets(Hub& hub) : hub_(hub) {}

TalkSockets::~TalkSockets() = default;

void TalkSockets::add(SoupWebsocketConnection* socket, int number,
                      std::shared_ptr<Connection> connection) {
    if (connection != nullptr) {
        connection->setIdle(false);
        connection->allowForEver();
    }
    sockets_.push_back(
        std::make_unique<Socket>(*this, socket, tryTalk(hub_, number), std::move(connection)));
}
