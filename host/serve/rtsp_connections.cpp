#include "host/serve/rtsp_connections.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "host/serve/closure_data.h"
#include "host/serve/object_pointer.h"

namespace {

using namespace std::chrono_literals;

constexpr int MostIdleLooks = 30;  // one a second
// GStreamer limits a request's lines and body, but not the number of lines.
constexpr uint64_t MostIdleBytes = 65536;
constexpr const char* NotesKey = "tamborin-notes";

// What this file knows of a client. The client owns it.
struct Notes {
    uint64_t number = 0;  // counts all clients; 0: not added yet
    ObjectPointer<GSocket> socket;
    bool isHungUp = false;
    // Since the client last had a session:
    int idleLooks = 0;
    uint64_t bytesBefore = 0;  // received when it last had one
};

Notes& notesOf(GstRTSPClient* client) {
    if (g_object_get_data(G_OBJECT(client), NotesKey) == nullptr)
        g_object_set_data_full(G_OBJECT(client), NotesKey, ownedData(Notes{}), freeData<Notes>);
    return *static_cast<Notes*>(g_object_get_data(G_OBJECT(client), NotesKey));
}

// Shuts a connection down. The client's own thread then closes it. Another thread must not close
// it, because the client's thread may be reading.
void hangUp(GstRTSPClient* client) {
    Notes& notes = notesOf(client);
    notes.isHungUp = true;
    g_socket_shutdown(notes.socket.get(), TRUE, TRUE, nullptr);
}

bool hasSession(GstRTSPClient* client) {
    GList* sessions = gst_rtsp_client_session_filter(client, nullptr, nullptr);
    const bool has = sessions != nullptr;
    g_list_free_full(sessions, g_object_unref);
    return has;
}

// Returns how many bytes have come.
uint64_t bytesFrom(GSocket* socket) {
    tcp_info info{};
    socklen_t size = sizeof(info);
    getsockopt(g_socket_get_fd(socket), IPPROTO_TCP, TCP_INFO, &info, &size);
    return info.tcpi_bytes_received;
}

// Returns the clients that were added, without those that are hung up, which close soon.
std::vector<ObjectPointer<GstRTSPClient>> connected(GstRTSPServer* server) {
    std::vector<ObjectPointer<GstRTSPClient>> clients;
    GList* all = gst_rtsp_server_client_filter(server, nullptr, nullptr);
    for (const GList* each = all; each != nullptr; each = each->next) {
        ObjectPointer<GstRTSPClient> client(GST_RTSP_CLIENT(each->data));
        if (notesOf(client.get()).number > 0 && !notesOf(client.get()).isHungUp)
            clients.push_back(std::move(client));
    }
    g_list_free(all);
    return clients;
}

bool isAnyManaged(GstRTSPServer* server) {
    GList* all = gst_rtsp_server_client_filter(server, nullptr, nullptr);
    const bool isAny = all != nullptr;
    g_list_free_full(all, g_object_unref);
    return isAny;
}

}  // namespace

void RtspConnections::add(GstRTSPClient* client) {
    Notes& notes = notesOf(client);
    notes.number = ++added_;
    notes.socket.reset(static_cast<GSocket*>(
        g_object_ref(gst_rtsp_connection_get_read_socket(gst_rtsp_client_get_connection(client)))));
    auto clients = connected(server_);
    if (clients.size() < Most)  // the new one is not among them yet
        return;
    std::erase_if(clients, [](const auto& one) { return hasSession(one.get()); });
    const auto oldest =
        std::min_element(clients.begin(), clients.end(), [](const auto& one, const auto& other) {
            return notesOf(one.get()).number < notesOf(other.get()).number;
        });
    hangUp(oldest == clients.end() ? client : oldest->get());
}

// GStreamer's own timer for this ("post-session-timeout") may end the process when one client's
// session ends while another client leaves.
void RtspConnections::endIdle() {
    for (const auto& client : connected(server_)) {
        Notes& notes = notesOf(client.get());
        const uint64_t bytes = bytesFrom(notes.socket.get());
        ++notes.idleLooks;
        if (hasSession(client.get())) {
            notes.idleLooks = 0;
            notes.bytesBefore = bytes;
        }
        if (notes.idleLooks > MostIdleLooks || bytes > notes.bytesBefore + MostIdleBytes)
            hangUp(client.get());
    }
}

void RtspConnections::endAll() {
    constexpr auto Patience = 2s;
    for (const auto& client : connected(server_))
        hangUp(client.get());
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (isAnyManaged(server_) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(10ms);
}
