"""An IP camera that can be switched off and on: GStreamer's RTSP server, always at the same address."""
import subprocess
import time

PICTURE = ("videotestsrc is-live=true pattern=ball ! video/x-raw,width=640,height=360,framerate=30/1 ! "
           "x264enc tune=zerolatency speed-preset=ultrafast bitrate=500 option-string=scenecut=0 key-int-max=30 ! "
           "video/x-h264,profile=constrained-baseline ! rtph264pay name=pay0 pt=96 ")
# As a real one sends it: 20 ms at a time, not in bursts.
SOUND = ("audiotestsrc is-live=true samplesperbuffer=160 freq=1000 volume=0.5 ! audio/x-raw,rate=8000,channels=1 ! "
         "mulawenc ! rtppcmupay name=pay1 pt=0 min-ptime=20000000 max-ptime=20000000 ")


class IpCamera:
    """For use in a with statement."""

    def __init__(self, program, network, role):
        self._program = program
        self._prefix = network.command_in(role, [])
        self._port = "0"
        self.url = None
        self.switch_on()

    def switch_on(self):
        """Returns when it can be called: on time.monotonic()'s clock."""
        command = [*self._prefix, self._program, self._port, f"( {PICTURE} {SOUND} )"]
        self._process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.url = self._process.stdout.readline().strip()
        if not self.url:
            raise RuntimeError("the IP camera does not start")
        self._port = self.url.rsplit(":", 1)[1].split("/", 1)[0]
        return time.monotonic()

    def switch_off(self):
        """As a power cut does."""
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()

    def __enter__(self):
        return self

    def __exit__(self, *unused):
        self.switch_off()
