"""What a viewer can send over the connection that he has been given."""
import json
import os
import signal
import time

from harness import sdk_limits
from stage.attack import VIEWER, Group
from stage.hostile import Hostile
from support.camera import wait_for

# Of a viewer who vanishes: the stand-in takes half a minute of silence for his end, here a fifth of that.
SILENCE_RATE = 5
VANISHED_SECONDS = sdk_limits.seconds("vanished")
GROUP = Group("media", silence_rate=SILENCE_RATE)
KEY_FRAMES_OF_CAMERA, KEY_FRAMES_ON_REQUEST = 1, 2


def _expect_few_key_frames(scene, act):
    with scene.hostile(act, seconds=3) as viewer:
        viewer.connected()
        begin = time.monotonic()
        viewer.done()
        end = time.monotonic()
        viewer.hang_up()
    keys, most = scene.innocent.key_pictures_in(begin, end), (KEY_FRAMES_OF_CAMERA + KEY_FRAMES_ON_REQUEST) * 3 + 2
    scene.expect(keys <= most, f"the stream had {keys} key frames in {end - begin:.1f} s")


@GROUP.attack("1,000 picture-loss indications a second", VIEWER,
              "a stream makes at most two key frames a second on request")
def pli(scene):
    _expect_few_key_frames(scene, "key_frames_by_pli")


@GROUP.attack("1,000 full-intra requests a second", VIEWER, "a stream makes at most two key frames a second on request")
def fir(scene):
    _expect_few_key_frames(scene, "key_frames_by_fir")


@GROUP.attack("85,000 packets a second asked for again", VIEWER,
              "what is sent again is at most half of what is sent")
def nack(scene):
    counted = scene.flood("retransmissions", seconds=2.5)
    usual, flooded = counted["bytesPerSecond"], counted["bytesPerSecondFlooded"]
    scene.expect(flooded < 2 * usual, f"he gets {flooded // 1000} kB/s instead of {usual // 1000}")


@GROUP.attack("1,000 new RTP sources a second", VIEWER, "sources of a call are few")
def sources(scene):
    scene.flood("sources", seconds=4)


@GROUP.attack("15,000 new contributing sources a second", VIEWER, "packets with many contributing sources are dropped")
def contributing_sources(scene):
    scene.flood("contributing_sources", seconds=4)


@GROUP.attack("an access unit in fragments that never ends", VIEWER, "fragments that wait for their end are bounded")
def endless_fragments(scene):
    scene.flood("endless_fragments", seconds=4)


@GROUP.attack("talk-back 40 times as fast as real time", VIEWER,
              "what waits to be played is bounded; the rest is dropped")
def fast_talk(scene):
    scene.flood("fast_talk", seconds=3)


@GROUP.attack("RTP packets that lie about their parts", VIEWER, "the stack's reading of packets")
def broken_rtp(scene):
    scene.flood("broken_rtp")


@GROUP.attack("RTCP packets that lie about their parts", VIEWER, "the stack's reading of packets")
def broken_rtcp(scene):
    scene.flood("broken_rtcp")


@GROUP.attack("estimates of one bit a second", VIEWER, "the encoders serve all viewers and follow nobody's estimate")
def starving_estimates(scene):
    scene.flood("starving_estimates")


@GROUP.attack("goodbyes in the name of others", VIEWER,
              "a goodbye is heard in the call that it came by, and nowhere else")
def goodbyes(scene):
    scene.flood("goodbyes")


@GROUP.attack("data channels that nobody offered", VIEWER, "data channels are refused")
def data_channels(scene):
    scene.flood("data_channels")


@GROUP.attack("DTLS garbage on an open connection", VIEWER, "what is no valid record is dropped")
def dtls_garbage(scene):
    scene.flood("dtls_garbage")


@GROUP.attack("ten viewers who vanish at once", VIEWER, "a viewer who is silent for long is hung up",
              release_seconds=VANISHED_SECONDS)
def vanish(scene):
    with scene.hostile("watch", calls=10) as viewers:
        viewers.connected()
        viewers.kill()
        scene.expect_service()
        wait_for(lambda: scene.calls() <= 1, VANISHED_SECONDS, "the camera to notice")


@GROUP.attack("a viewer who stands still for three seconds", VIEWER, "nobody waits for another viewer")
def frozen(scene):
    with scene.hostile("watch", seconds=4) as viewer:
        viewer.connected()
        viewer.process.send_signal(signal.SIGSTOP)
        time.sleep(3)
        viewer.process.send_signal(signal.SIGCONT)
        viewer.done()
        viewer.hang_up()


@GROUP.attack("eight viewers who do everything at once", VIEWER, "all of this together")
def everything(scene):
    log = os.path.join(scene.folder, "hostile.log")
    acts = ("key_frames_by_pli", "retransmissions", "sources", "contributing_sources", "endless_fragments", "fast_talk",
            "broken_rtcp", "dtls_garbage")
    viewers = [Hostile(scene.camera.url, act, log, seconds=2) for act in acts]
    try:
        for viewer in viewers:
            viewer.connected()
        scene.expect_service()
        for viewer in viewers:
            viewer.done()
        for viewer in viewers:
            viewer.hang_up()
    finally:
        for viewer in viewers:
            viewer.__exit__()
    calls = json.loads(scene.door.ask("GET", "/calls")[2])
    scene.expect(len(calls) == 1, f"{len(calls) - 1} of their calls are still up")
