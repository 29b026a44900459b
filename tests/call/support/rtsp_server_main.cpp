// rtsp-server PORT LAUNCH: an IP camera to test with. Serves what the launch line makes at /camera, port 0 for a free
// one, and prints the address.
#include <gst/gst.h>
#include <gst/rtsp-server/rtsp-server.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: rtsp-server PORT LAUNCH\n");
        return 2;
    }
    gst_init(nullptr, nullptr);
    GstRTSPServer* server = gst_rtsp_server_new();
    gst_rtsp_server_set_address(server, "127.0.0.1");
    gst_rtsp_server_set_service(server, argv[1]);
    GstRTSPMediaFactory* camera = gst_rtsp_media_factory_new();
    gst_rtsp_media_factory_set_launch(camera, argv[2]);
    gst_rtsp_media_factory_set_shared(camera, TRUE);
    GstRTSPMountPoints* mounts = gst_rtsp_server_get_mount_points(server);
    gst_rtsp_mount_points_add_factory(mounts, "/camera", camera);
    g_object_unref(mounts);
    if (gst_rtsp_server_attach(server, nullptr) == 0) {
        std::fprintf(stderr, "rtsp-server: port %s cannot be listened on\n", argv[1]);
        return 1;
    }
    std::printf("rtsp://127.0.0.1:%d/camera\n", gst_rtsp_server_get_bound_port(server));
    std::fflush(stdout);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
