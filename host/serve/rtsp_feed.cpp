#include "host/serve/rtsp_feed.h"

#include <algorithm>
#include <utility>

#include "host/serve/closure_data.h"
#include "host/serve/rtsp_factory.h"
#include "host/session/sound_format.h"
#include "host/system/steady_time.h"

// A packet has 32 ms, an eighth of a frame, so that no packet waits for the next frame. The tee
// lets sound go nowhere when a client sets up the backchannel only. Otherwise the source would stop
// with an error, and PLAY would sometimes leave the backchannel's receiver stopped.
const char* const CaptureLaunch =
    "( appsrc name=source is-live=true format=time caps=audio/x-mulaw,rate=8000,channels=1 "
    "max-buffers=16 max-bytes=0 max-time=0 leaky-type=downstream ! "
    "tee allow-not-linked=true ! rtppcmupay name=pay0 pt=0 min-ptime=32000000 max-ptime=32000000 )";
const char* const BackchannelLaunch =
    "( capsfilter name=depay_backchannel caps=\"application/x-rtp, media=(string)audio, "
    "payload=(int)0, clock-rate=(int)8000, encoding-name=(string)PCMU\" ! rtppcmudepay ! "
    "appsink name=sink sync=false async=false max-buffers=64 drop=true )";

namespace {

constexpr const char* FeedKey = "tamborin-feed";
constexpr int64_t MostAge = 5000;  // ms from capture to here; more means that the clock was set

constexpr int64_t PacketDuration = 32 * int64_t{GST_MSECOND};
constexpr int64_t MostAhead = int64_t{GST_SECOND};  // that packets may be ahead of the time

// The pipeline's time begins this much before its start, because the first frame may have been
// captured before the start.
constexpr GstClockTime TimeAhead = 2 * MostAge * GST_MSECOND;

void beginTimeEarlier(GstElement* pipeline) {
    const ObjectPointer<GstClock> clock(gst_system_clock_obtain());
    gst_pipeline_use_clock(GST_PIPELINE(pipeline), clock.get());
    gst_element_set_start_time(pipeline, GST_CLOCK_TIME_NONE);
    gst_element_set_base_time(pipeline, gst_clock_get_time(clock.get()) - TimeAhead);
}

bool isRtpManager(GstElement* element) {
    return g_str_has_prefix(GST_ELEMENT_NAME(element), "rtpbin") != FALSE;
}

// Makes RTCP's sender reports contain the time of capture instead of the time of sending, and
// limits the senders that RTCP from outside can add: the manager has a thread for each.
void setUpRtp(GstBin* /*pipeline*/, GstElement* element, gpointer /*data*/) {
    constexpr guint MostSenders = 4;
    if (isRtpManager(element))
        g_object_set(element, "rtcp-sync-send-time", FALSE, "max-streams", MostSenders, nullptr);
}

void filterPackets(GstBin* /*pipeline*/, GstElement* element, gpointer filter) {
    if (isRtpManager(element))
        TalkerFilter::attach(*static_cast<const std::shared_ptr<TalkerFilter>*>(filter), element);
}

// GStreamer leaks a reference to the backchannel's bin when it makes the bin's stream. Nobody uses
// the medium yet, so only the bin's parent and this function have the others.
void releaseBackchannel(GstRTSPMedia* medium) {
    constexpr int KnownReferences = 2;
    const ObjectPointer<GstElement> element(gst_rtsp_media_get_element(medium));
    const ObjectPointer<GstElement> bin(
        gst_bin_get_by_name(GST_BIN(element.get()), BackchannelName));
    if (bin != nullptr && GST_OBJECT_REFCOUNT_VALUE(bin.get()) > KnownReferences)
        gst_object_unref(bin.get());
}

// Tells the backchannel's stream the format of its packets. GStreamer tells it only when it answers
// a DESCRIBE.
void setFormat(GstRTSPMedia* medium, GstBin* bin) {
    constexpr guint BackchannelStream = 1;  // behind the input's
    constexpr guint MulawType = 0;
    const ObjectPointer<GstElement> filter(gst_bin_get_by_name(bin, BackchannelFilterName));
    GstCaps* format = nullptr;
    g_object_get(filter.get(), "caps", &format, nullptr);
    gst_rtsp_stream_set_pt_map(gst_rtsp_media_get_stream(medium, BackchannelStream), MulawType,
                               format);
    gst_caps_unref(format);
}

GstBuffer* bufferOf(const FramePointer& frame) {
    auto owner = std::make_unique<FramePointer>(frame);
    const size_t size = frame->codes.size();
    return gst_buffer_new_wrapped_full(
        GST_MEMORY_FLAG_READONLY, const_cast<uint8_t*>(frame->codes.data()), size, 0, size,
        owner.release(), [](gpointer data) { delete static_cast<FramePointer*>(data); });
}

}  // namespace

bool RtspFeeds::add(RtspFeed& feed) {
    const std::lock_guard held(mutex_);
    if (feed.hasBackchannel() && backchannels_ == MostBackchannels)
        return false;
    feeds_.insert(&feed);
    backchannels_ += feed.hasBackchannel() ? 1 : 0;
    if (hasEnded_)
        feed.end();
    return true;
}

void RtspFeeds::remove(RtspFeed& feed) {
    const std::lock_guard held(mutex_);
    feed.end();
    if (feeds_.erase(&feed) > 0 && feed.hasBackchannel())
        --backchannels_;
}

void RtspFeeds::setClients(const std::map<RtspFeed*, int>& clients) {
    const std::lock_guard held(mutex_);
    for (RtspFeed* feed : feeds_) {
        const auto found = clients.find(feed);
        feed->setClients(found == clients.end() ? 0 : found->second);
    }
}

void RtspFeeds::end() {
    const std::lock_guard held(mutex_);
    hasEnded_ = true;
    for (RtspFeed* feed : feeds_)
        feed->end();
}

void RtspFeed::attach(GstRTSPMediaFactory* /*factory*/, GstRTSPMedia* medium, gpointer input) {
    releaseBackchannel(medium);
    auto feed = std::make_unique<RtspFeed>(*static_cast<const RtspInput*>(input), medium);
    g_signal_connect(medium, "unprepared", G_CALLBACK(+[](GstRTSPMedia* ended, gpointer) {
                         if (RtspFeed* found = of(ended))
                             found->end();
                     }),
                     nullptr);
    g_object_set_data_full(G_OBJECT(medium), FeedKey, feed.release(),
                           [](gpointer data) { delete static_cast<RtspFeed*>(data); });
}

RtspFeed* RtspFeed::of(GstRTSPMedia* medium) {
    return static_cast<RtspFeed*>(g_object_get_data(G_OBJECT(medium), FeedKey));
}

RtspFeed::RtspFeed(RtspInput input, GstRTSPMedia* medium)
    : input_(std::move(input)),
      source_([medium] {
          const ObjectPointer<GstElement> bin(gst_rtsp_media_get_element(medium));
          return gst_bin_get_by_name(GST_BIN(bin.get()), "source");
      }()),
      talk_(input_.hub, input_.talkOutput) {
    const ObjectPointer<GstElement> bin(gst_rtsp_media_get_element(medium));
    const ObjectPointer<GstElement> pipeline(
        GST_ELEMENT(gst_object_get_parent(GST_OBJECT(bin.get()))));
    beginTimeEarlier(pipeline.get());
    g_signal_connect(pipeline.get(), "element-added", G_CALLBACK(setUpRtp), nullptr);
    sink_.reset(gst_bin_get_by_name(GST_BIN(bin.get()), "sink"));
    if (sink_ != nullptr) {
        setFormat(medium, GST_BIN(bin.get()));
        GstAppSinkCallbacks callbacks{};
        callbacks.new_sample = [](GstAppSink* sink, gpointer self) {
            return static_cast<RtspFeed*>(self)->take(gst_app_sink_pull_sample(sink));
        };
        gst_app_sink_set_callbacks(GST_APP_SINK(sink_.get()), &callbacks, this, nullptr);
        connectOwning(pipeline.get(), "element-added", filterPackets, filter_);
    }
    isAdmitted_ = input_.feeds->add(*this);
    if (!isAdmitted_)
        return;
    input_.hub->use([this](Hub& hub) {
        auto listening =
            hub.listen(input_.number, [this](const FramePointer& frame) { give(frame); });
        const std::lock_guard held(mutex_);
        listening_.swap(listening);
    });
}

RtspFeed::~RtspFeed() { input_.feeds->remove(*this); }

void RtspFeed::end() {
    if (sink_ != nullptr) {
        GstAppSinkCallbacks none{};
        gst_app_sink_set_callbacks(GST_APP_SINK(sink_.get()), &none, nullptr, nullptr);
    }
    talk_.end();
    const std::lock_guard held(mutex_);
    listening_.reset();
}

void RtspFeed::setClients(int clients) {
    const std::lock_guard held(mutex_);
    hadClients_ = hadClients_ || clients > 0;
    if (listening_ != nullptr && hadClients_)
        listening_->setClients(clients);
}

// Runs on the module's thread. RTP's time stamps count samples. Only after a gap they follow the
// time of capture again, and never go back. When the queue is full its oldest frame is dropped.
//
// The buffers' times must not go back either: GStreamer's queue of a client would end the process.
// So when frames come all at once, each begins when the last packet of the previous frame does,
// until the clock has caught up. Frames that would be too far ahead are dropped.
void RtspFeed::give(const FramePointer& frame) {
    const ObjectPointer<GstClock> clock(gst_element_get_clock(source_.get()));
    if (clock == nullptr)
        return;
    const auto now = static_cast<int64_t>(gst_clock_get_time(clock.get()) -
                                          gst_element_get_base_time(source_.get()));
    if (lastPacket_ > now + MostAhead)
        return;
    const int64_t age = std::clamp<int64_t>(clockMilliseconds() - frame->milliseconds, 0, MostAge);
    GstBuffer* buffer = bufferOf(frame);
    const int64_t captured = std::max(lastPacket_, now - age * int64_t{GST_MSECOND});
    GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(captured);
    GST_BUFFER_DURATION(buffer) =
        gst_util_uint64_scale(frame->codes.size(), GST_SECOND, SampleRate);
    if (soundEnd_ == 0)
        soundEnd_ = captured;
    if (frame->followsGap && captured > soundEnd_) {
        GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
        soundEnd_ = captured;
    }
    const auto duration = static_cast<int64_t>(GST_BUFFER_DURATION(buffer));
    soundEnd_ += duration;
    lastPacket_ = captured + std::max<int64_t>(0, duration - PacketDuration);
    gst_app_src_push_buffer(GST_APP_SRC(source_.get()), buffer);
}

GstFlowReturn RtspFeed::take(GstSample* sample) {
    if (sample == nullptr)
        return GST_FLOW_OK;
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    GstMapInfo map{};
    if (GST_BUFFER_PTS_IS_VALID(buffer) && gst_buffer_map(buffer, &map, GST_MAP_READ) != FALSE) {
        const auto position = static_cast<int64_t>(
            gst_util_uint64_scale_round(GST_BUFFER_PTS(buffer), SampleRate, GST_SECOND));
        talk_.put(position, {map.data, map.size});
        gst_buffer_unmap(buffer, &map);
    }
    gst_sample_unref(sample);
    return GST_FLOW_OK;
}
