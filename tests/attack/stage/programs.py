"""The programs beside the camera. Their WebRTC stack is a module of Debian's Python, which need not be the first."""
import os

HERE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PYTHON = "/usr/bin/python3"
INNOCENT = os.path.join(HERE, "peers", "innocent.py")
HOSTILE = os.path.join(HERE, "peers", "hostile.py")
