// Serves sound devices to RTSP clients by GStreamer's own elements, for comparison with
// tamborin-host-serve: with its server library and a thread for each client, too. Prints its URLs.
//
//     gst_serve [PERIOD_MS]
//
// Captures in periods of GStreamer's choice, each sent as a packet; with PERIOD_MS in periods of
// that length, in packets of 32 ms.
#include <gst/rtsp-server/rtsp-server.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string launchOf(const std::string& device, long periodMs) {
    const std::string periods = periodMs == 0
                                    ? ""
                                    : " latency-time=" + std::to_string(1000 * periodMs) +
                                          " buffer-time=" + std::to_string(4000 * periodMs);
    const std::string packets = periodMs == 0 ? "" : " min-ptime=32000000 max-ptime=32000000";
    return "( alsasrc device=" + device + periods +
           " ! audio/x-raw,rate=8000,channels=1 ! mulawenc ! rtppcmupay name=pay0 pt=0" + packets +
           " )";
}

}  // namespace

int main(int argc, char** argv) {
    gst_init(nullptr, nullptr);
    const long periodMs = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    GstRTSPServer* server = gst_rtsp_server_new();
    gst_rtsp_server_set_address(server, "127.0.0.1");
    gst_rtsp_server_set_service(server, "0");
    gst_rtsp_server_set_backlog(server, 200);
    GstRTSPThreadPool* threads = gst_rtsp_server_get_thread_pool(server);
    gst_rtsp_thread_pool_set_max_threads(threads, -1);
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server);
    const std::array<std::string, 2> devices{"pulse", "default"};
    for (const std::string& device : devices) {
        GstRTSPMediaFactory* factory = gst_rtsp_media_factory_new();
        gst_rtsp_media_factory_set_launch(factory, launchOf(device, periodMs).c_str());
        gst_rtsp_media_factory_set_shared(factory, TRUE);
        gst_rtsp_mount_points_add_factory(mounts, ("/" + device).c_str(), factory);
    }
    if (gst_rtsp_server_attach(server, nullptr) == 0)
        return EXIT_FAILURE;
    for (const std::string& device : devices)
        std::printf("rtsp://127.0.0.1:%d/%s\n", gst_rtsp_server_get_bound_port(server),
                    device.c_str());
    std::fflush(stdout);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
