"""The configuration of a Janus that does nothing but pass on one camera."""
import os
import subprocess

MOUNTPOINT = 1
# No page has this one.
ORIGIN = "http://chain.invalid"
# Everything that Janus listens on is for this machine only, but for the viewers' picture and sound. The page of any
# site could reach the HTTP interface through a browser on this machine, which is why it insists on an origin.
FILES = {
    "janus.jcfg": """
        general: {{ plugins_folder = "{libraries}/plugins", transports_folder = "{libraries}/transports",
                    debug_level = 2 }}
        nat: {{ ice_lite = true {addresses} }}
        plugins: {{ disable = "{other_plugins}" }}
        transports: {{ disable = "{other_transports}" }}""",
    "janus.transport.http.jcfg": """
        general: {{ http = true, port = {http_port}, ip = "127.0.0.1", https = false, json = "compact" }}
        cors: {{ allow_origin = "{origin}", enforce_cors = true }}""",
    "janus.plugin.streaming.jcfg": """
        camera: {{ type = "rtp", id = {mountpoint}, media = (
            {{ type = "video", mid = "v", port = {video_port}, rtcpport = {video_rtcp_port}, iface = "127.0.0.1",
               pt = 96, codec = "h264", fmtp = "packetization-mode=1;profile-level-id=42e01f" }},
            {{ type = "audio", mid = "a", port = {audio_port}, rtcpport = {audio_rtcp_port}, iface = "127.0.0.1",
               pt = 0, codec = "pcmu" }} ) }}""",
}


def write_janus_files(folder, http_port, video_port, audio_port, listen_on=None, public_address=None):
    """Writes the files and returns their folder, for janus -F.

    RTCP is on the port after that of each RTP. listen_on: the only address for viewers' picture and sound, instead of
    every one but loopback; public_address: what viewers are told where that is another one.
    """
    files = subprocess.run(["dpkg", "-L", "janus"], capture_output=True, text=True, check=True).stdout.splitlines()
    libraries = os.path.dirname(next(path for path in files if path.endswith("/plugins")))
    addresses = f', ice_enforce_list = "{listen_on}"' if listen_on else ""
    addresses += f', nat_1_1_mapping = "{public_address}"' if public_address else ""
    values = {"libraries": libraries, "other_plugins": _others(libraries, "plugins", "libjanus_streaming.so"),
              "other_transports": _others(libraries, "transports", "libjanus_http.so"), "addresses": addresses,
              "http_port": http_port, "origin": ORIGIN, "mountpoint": MOUNTPOINT, "video_port": video_port,
              "video_rtcp_port": video_port + 1, "audio_port": audio_port, "audio_rtcp_port": audio_port + 1}
    target = os.path.join(folder, "janus")
    os.makedirs(target, exist_ok=True)
    for name, text in FILES.items():
        with open(os.path.join(target, name), "w", encoding="ascii") as file:
            file.write(text.format(**values) + "\n")
    return target


def _others(libraries, kind, wanted):
    return ",".join(name for name in sorted(os.listdir(os.path.join(libraries, kind)))
                    if name.endswith(".so") and name != wanted)
