"""How long tests wait for a camera, which depends on the SDK under it: see tests/support/sdk_limits.h."""
import json
import os
import pathlib

LIMITS = json.loads((pathlib.Path(__file__).parents[2] / "support" / "sdk_limits.json").read_text(encoding="utf-8"))


def camera_under_test(own):
    """The camera that ZELRTC_CAMERA_UNDER_TEST names, else the build's own."""
    return os.environ.get("ZELRTC_CAMERA_UNDER_TEST", own)


def seconds(name):
    by_sdk = LIMITS[name]["seconds"]
    if "ZELRTC_SDK_UNDER_TEST" in os.environ:
        return by_sdk[os.environ["ZELRTC_SDK_UNDER_TEST"]]
    return max(by_sdk.values()) if "ZELRTC_CAMERA_UNDER_TEST" in os.environ else by_sdk["stand-in"]
