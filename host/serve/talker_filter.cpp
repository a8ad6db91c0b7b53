#include "host/serve/talker_filter.h"

#include <gst/net/gstnetaddressmeta.h>

#include <algorithm>

#include "host/serve/closure_data.h"
#include "host/serve/object_pointer.h"
#include "host/system/steady_time.h"

namespace {

constexpr size_t HeaderBytes = 12;  // of RTP, and the identifier is at its end
constexpr size_t IdentifierOffset = 8;
constexpr size_t MostPacketBytes = 8192;  // about a second, as in a WebSocket's message
constexpr uint8_t MulawType = 0;
constexpr size_t ReportHeaderBytes = 4;  // of each part of an RTCP packet
constexpr uint8_t SenderReportType = 200;
constexpr uint8_t FarewellType = 203;
constexpr int64_t SenderPause = 1000;  // ms without a packet, after which another sender may begin

// Returns an address's bytes. IPv6 sockets show IPv4 addresses with a prefix, which is left out.
std::string bytesOf(GInetAddress* address) {
    constexpr std::string_view Mapped("\0\0\0\0\0\0\0\0\0\0\xFF\xFF", 12);
    const std::string bytes(reinterpret_cast<const char*>(g_inet_address_to_bytes(address)),
                            g_inet_address_get_native_size(address));
    return bytes.size() > Mapped.size() && bytes.starts_with(Mapped) ? bytes.substr(Mapped.size())
                                                                     : bytes;
}

std::string bytesOf(GSocketAddress* address) {
    return address != nullptr && G_IS_INET_SOCKET_ADDRESS(address)
               ? bytesOf(g_inet_socket_address_get_address(G_INET_SOCKET_ADDRESS(address)))
               : "";
}

// Returns null for a packet without an address. GStreamer gives packets that come in the RTSP
// connection the address of its client.
GSocketAddress* addressOf(GstBuffer* packet) {
    const GstNetAddressMeta* const meta = gst_buffer_get_net_address_meta(packet);
    return meta == nullptr ? nullptr : meta->addr;
}

gboolean removeAddress(GstBuffer* /*packet*/, GstMeta** meta, gpointer /*data*/) {
    if ((*meta)->info->api == GST_NET_ADDRESS_META_API_TYPE)
        *meta = nullptr;
    return TRUE;
}

// Returns true when an RTCP packet harms the session. A sender's farewell (BYE) would end the sound
// of the next one, who gets the same identifier. A report of a sender with another identifier
// would take one of the session's few places (MostSenders in host/serve/rtsp_feed.cpp).
bool isHarmful(GstBuffer* packet, const TalkerFilter::Identifier& first) {
    struct {
        std::array<uint8_t, ReportHeaderBytes> header;
        TalkerFilter::Identifier identifier;
    } part{};
    for (size_t at = 0; gst_buffer_extract(packet, at, &part, sizeof(part)) >= ReportHeaderBytes;) {
        const auto& header = part.header;
        if (header[1] == FarewellType ||
            (header[1] == SenderReportType && part.identifier != first))
            return true;
        at += ReportHeaderBytes * (size_t{1} + (size_t{header[2]} << 8U) + header[3]);
    }
    return false;
}

}  // namespace

void TalkerFilter::attach(const std::shared_ptr<TalkerFilter>& filter, GstElement* rtpManager) {
    connectOwning(
        rtpManager, "pad-added",
        +[](GstElement*, GstPad* pad, gpointer data) {
            const auto& shared = *static_cast<std::shared_ptr<TalkerFilter>*>(data);
            if (g_str_has_prefix(GST_PAD_NAME(pad), "recv_rtp_sink_") != FALSE)
                addProbe(shared, pad, &TalkerFilter::passSound);
            if (g_str_has_prefix(GST_PAD_NAME(pad), "recv_rtcp_sink_") != FALSE)
                addProbe(shared, pad, &TalkerFilter::passReport);
        },
        filter);
}

void TalkerFilter::addProbe(const std::shared_ptr<TalkerFilter>& filter, GstPad* pad,
                            Handler handler) {
    struct Probe {
        std::shared_ptr<TalkerFilter> filter;
        Handler handler;
    };
    gst_pad_add_probe(
        pad, GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo* info, gpointer data) {
            const auto& probe = *static_cast<Probe*>(data);
            GstBuffer* packet = GST_PAD_PROBE_INFO_BUFFER(info);
            const bool passes = ((*probe.filter).*probe.handler)(packet);
            GST_PAD_PROBE_INFO_DATA(info) = packet;
            return passes ? GST_PAD_PROBE_OK : GST_PAD_PROBE_DROP;
        },
        ownedData(Probe{filter, handler}), freeData<Probe>);
}

void TalkerFilter::setTalker(GstRTSPClient* client) {
    GSocket* const socket =
        gst_rtsp_connection_get_read_socket(gst_rtsp_client_get_connection(client));
    const ObjectPointer<GSocketAddress> address(g_socket_get_remote_address(socket, nullptr));
    const std::lock_guard held(mutex_);
    talker_ = bytesOf(address.get());
}

std::string TalkerFilter::talker() {
    const std::lock_guard held(mutex_);
    return talker_;
}

TalkerFilter::Identifier TalkerFilter::first() {
    const std::lock_guard held(mutex_);
    return first_;
}

bool TalkerFilter::passSound(GstBuffer*& packet) {
    GSocketAddress* const from = addressOf(packet);
    const std::string address = bytesOf(from);
    if (from != nullptr && (address.empty() || address != talker()))
        return false;
    std::array<uint8_t, HeaderBytes> header{};
    if (gst_buffer_extract(packet, 0, header.data(), header.size()) != header.size() ||
        gst_buffer_get_size(packet) > MostPacketBytes || (header[1] & 0x7FU) != MulawType)
        return false;
    Identifier identifier{};
    std::copy_n(header.begin() + IdentifierOffset, identifier.size(), identifier.begin());
    if (!isSender(identifier))
        return false;
    const std::lock_guard held(mutex_);
    if (identifier != first_) {
        packet = gst_buffer_make_writable(packet);
        gst_buffer_fill(packet, IdentifierOffset, first_.data(), first_.size());
        // The session drops packets of one identifier from two ports.
        gst_buffer_foreach_meta(packet, removeAddress, nullptr);
    }
    return true;
}

// Returns true when the packets of this sender pass now.
bool TalkerFilter::isSender(const Identifier& identifier) {
    const int64_t now = steadyMilliseconds();
    const std::lock_guard held(mutex_);
    if (lastPacket_ == 0)
        first_ = identifier;
    if (now > lastPacket_ + SenderPause)
        sender_ = identifier;
    if (identifier != sender_)
        return false;
    lastPacket_ = now;
    return true;
}

bool TalkerFilter::passReport(GstBuffer*& packet) {
    GSocketAddress* const from = addressOf(packet);
    const std::string address = talker();
    if (from != nullptr && !address.empty() && bytesOf(from) != address)
        return false;
    return !isHarmful(packet, first());
}
