"""The end of calls, and of the camera, while somebody wants to prevent it."""
import os
import signal
import time

from harness import sdk_limits
from stage.attack import NETWORK, VIEWER, Group
from support.camera import wait_for

CAMERA_SECONDS = sdk_limits.seconds("exit")
# Other SDKs than the stand-in take as long for one call as for the camera's end.
CALL_SECONDS = CAMERA_SECONDS if "ZELRTC_CAMERA_UNDER_TEST" in os.environ else 1
GROUP = Group("ending")
WATCHED_SECONDS = 1


def _expect_quick_end(scene, act):
    with scene.hostile(act, seconds=6) as viewer:
        path, = viewer.connected()
        scene.innocent.wait_for_pictures(30 * WATCHED_SECONDS, time.monotonic())
        begin = time.monotonic()
        scene.end_call(path)
        wait_for(lambda: scene.calls() == 1, 5, "the release of the call")
        took = time.monotonic() - begin
    scene.expect(took < CALL_SECONDS, f"the end of the call took {took:.1f} s")


@GROUP.attack("a viewer who floods while his call is ended", VIEWER, "the end of a call waits for nobody's packets")
def hung_up_in_a_flood(scene):
    for act in ("key_frames_by_pli", "retransmissions", "sources", "endless_fragments"):
        _expect_quick_end(scene, act)


@GROUP.attack("ten calls ended at once, each by its viewer's vanishing and a hang-up", VIEWER,
              "calls are ended beside each other")
def ended_together(scene):
    with scene.hostile("watch", calls=10) as viewers:
        paths = viewers.connected()
        viewers.kill()
        begin = time.monotonic()
        for path in paths:
            scene.end_call(path)
        wait_for(lambda: scene.calls() == 1, 10, "the release of the calls")
        took = time.monotonic() - begin
    scene.expect(took < CAMERA_SECONDS, f"the end of ten calls took {took:.1f} s")


def _expect_quick_stop(scene):
    begin = time.monotonic()
    scene.camera.process.send_signal(signal.SIGTERM)
    status = scene.camera.process.wait(30)
    took = time.monotonic() - begin
    if status != 0:
        raise RuntimeError(f"the camera ended with {status}")
    scene.expect(took < CAMERA_SECONDS, f"the camera took {took:.1f} s to end")


@GROUP.attack("1,500 connections, slow requests and calls that keep the camera from stopping", NETWORK,
              "SIGTERM ends calls beside each other and waits for no client", ends_camera=True)
def stopped_in_a_crowd(scene):
    for connection in scene.door.crowd(1500, [f"127.0.4.{number}" for number in range(1, 200)]):
        try:
            connection.sendall(b"POST /calls HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 500\r\n\r\n{")
        except OSError:
            continue
    for number in range(8):
        scene.place_call(source=f"127.0.5.{number + 1}")
    scene.innocent.wait_for_pictures(30 * WATCHED_SECONDS, time.monotonic())
    scene.end_of_watch = time.monotonic()
    _expect_quick_stop(scene)


@GROUP.attack("viewers who flood while the camera stops", VIEWER, "the end of a call waits for nobody's packets",
              ends_camera=True)
def stopped_in_a_flood(scene):
    with scene.hostile("retransmissions", seconds=6, calls=2) as one, \
            scene.hostile("sources", seconds=6, calls=2) as other:
        one.connected()
        other.connected()
        scene.innocent.wait_for_pictures(30 * WATCHED_SECONDS, time.monotonic())
        scene.end_of_watch = time.monotonic()
        _expect_quick_stop(scene)
