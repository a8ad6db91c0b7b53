#include "host/serve/rtsp_factory.h"

#include <gst/rtsp-server/rtsp-onvif-server.h>

#include <memory>

#include "host/serve/derived_type.h"
#include "host/serve/object_pointer.h"

namespace {

// Returns a bin with a pad "sink", or null.
GstElement* createBackchannel(const char* launch) {
    GstElement* bin = gst_parse_bin_from_description_full(launch, FALSE, nullptr,
                                                          GST_PARSE_FLAG_PLACE_IN_BIN, nullptr);
    if (bin == nullptr)
        return nullptr;
    gst_object_set_name(GST_OBJECT(bin), BackchannelName);
    const ObjectPointer<GstElement> filter(
        gst_bin_get_by_name(GST_BIN(bin), BackchannelFilterName));
    const ObjectPointer<GstPad> sink(gst_element_get_static_pad(filter.get(), "sink"));
    gst_element_add_pad(bin, gst_ghost_pad_new("sink", sink.get()));
    return bin;
}

GstElement* createElement(GstRTSPMediaFactory* factory, const GstRTSPUrl* url) {
    const auto* const plain =
        static_cast<GstRTSPMediaFactoryClass*>(g_type_class_peek(GST_TYPE_RTSP_MEDIA_FACTORY));
    GstElement* element = plain->create_element(factory, url);
    if (element == nullptr || gst_rtsp_onvif_media_factory_requires_backchannel(
                                  factory, gst_rtsp_context_get_current()) == FALSE)
        return element;
    const std::unique_ptr<gchar, decltype(&g_free)> launch(
        gst_rtsp_onvif_media_factory_get_backchannel_launch(GST_RTSP_ONVIF_MEDIA_FACTORY(factory)),
        g_free);
    GstElement* backchannel = launch != nullptr ? createBackchannel(launch.get()) : nullptr;
    if (backchannel != nullptr && gst_bin_add(GST_BIN(element), backchannel) != FALSE)
        return element;
    gst_object_unref(element);
    return nullptr;
}

void initFactoryClass(gpointer type, gpointer /*data*/) {
    static_cast<GstRTSPMediaFactoryClass*>(type)->create_element = createElement;
}

}  // namespace

GType rtspFactoryType() {
    static const GType type =
        derivedType(GST_TYPE_RTSP_ONVIF_MEDIA_FACTORY, "TamborinRtspFactory", initFactoryClass);
    return type;
}
