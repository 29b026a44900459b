"""What a viewer's voice can do to the files of a camera that records it."""
import glob
import os
import stat
import time

from stage.attack import VIEWER, Group
from support.camera import wait_for

LIMIT_MIB = 1
WAV_BYTES_PER_SECOND = 16000
PLANTED = b"kept by somebody else"


def _options(folder):
    os.makedirs(os.path.join(folder, "voices"))
    return "--record-dir", os.path.join(folder, "voices"), "--record-limit", str(LIMIT_MIB)


GROUP = Group("recordings", options=_options)


def _voices(scene):
    return sorted(glob.glob(os.path.join(scene.folder, "voices", "*")))


def _plant(scene, make):
    """Something stands where the next recordings may go. @return the paths"""
    paths = [os.path.join(scene.folder, "voices", f"call-{number}.wav") for number in range(1, 60)]
    planted = [path for path in paths if not os.path.lexists(path)]
    for path in planted:
        make(path)
    return planted


def _clear(paths):
    for path in paths:
        os.remove(path)


def _keep(path):
    with open(path, "wb") as file:
        file.write(PLANTED)


@GROUP.attack("a recording where there is a file already", VIEWER, "a file that exists is never written to")
def overwriting(scene):
    planted = _plant(scene, _keep)
    scene.flood("watch", seconds=1)
    changed = [path for path in planted if open(path, "rb").read() != PLANTED]
    scene.expect(not changed, f"{len(changed)} files were overwritten")
    _clear(planted)


@GROUP.attack("a recording where a link leads elsewhere", VIEWER, "a link is not followed")
def links(scene):
    target = os.path.join(scene.folder, "elsewhere")
    _keep(target)
    planted = _plant(scene, lambda path: os.symlink(target, path))
    scene.flood("watch", seconds=1)
    with open(target, "rb") as file:
        scene.expect(file.read() == PLANTED, "the file that the link leads to was overwritten")
    _clear([path for path in planted if os.path.islink(path)])


@GROUP.attack("recordings read by other users of the machine", VIEWER, "recordings can be read by their owner only")
def modes(scene):
    before = set(_voices(scene))
    scene.flood("watch", seconds=1)
    wait_for(lambda: set(_voices(scene)) - before, 5, "a recording")
    for path in set(_voices(scene)) - before:
        mode = stat.S_IMODE(os.stat(path).st_mode)
        scene.expect(mode == 0o600, f"a recording has the mode {mode:o}")


@GROUP.attack("a recording that grows faster than time", VIEWER, "a recording grows in real time")
def fast_recording(scene):
    before = set(_voices(scene))
    begin = time.monotonic()
    scene.flood("fast_talk", seconds=3)
    took = time.monotonic() - begin
    size = sum(os.path.getsize(path) for path in set(_voices(scene)) - before)
    scene.expect(size <= WAV_BYTES_PER_SECOND * (took + 2), f"{took:.0f} s of a call became {size // 1000} kB")


@GROUP.attack("ten voices until the disk is full", VIEWER, "--record-limit bounds all recordings together")
def full_disk(scene):
    with scene.hostile("fast_talk", seconds=7, calls=10) as viewers:
        viewers.done()
        viewers.hang_up()
    size = sum(os.path.getsize(path) for path in _voices(scene))
    scene.expect(size <= LIMIT_MIB << 20, f"recordings hold {size >> 10} KiB, {LIMIT_MIB} MiB is the limit")
