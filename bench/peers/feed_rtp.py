#!/usr/bin/env python3
"""Sends the clip and a tone as plain RTP to this host, in a loop: feed_rtp.py CLIP VIDEO_PORT AUDIO_PORT."""
import socket
import sys
import threading
import time

from clip import AUDIO_BYTES, AUDIO_SECONDS, FRAMES_PER_SECOND, Pace, RtpStream, access_units, h264_payloads, tone

TICKS = 90000 // FRAMES_PER_SECOND


def send_audio(port):
    out, stream, frames = socket.socket(type=socket.SOCK_DGRAM), RtpStream(0, 2), tone()
    pace = Pace(AUDIO_SECONDS)
    while True:
        time.sleep(pace.next_wait())
        frame = frames[pace.number % len(frames)]
        out.sendto(stream.packet(frame, pace.number * AUDIO_BYTES, False), ("127.0.0.1", port))


def send_video(path, port):
    out, stream = socket.socket(type=socket.SOCK_DGRAM), RtpStream(96, 1)
    pictures = [h264_payloads(units) for units in access_units(path)]
    pace = Pace(1 / FRAMES_PER_SECOND)
    while True:
        time.sleep(pace.next_wait())
        payloads = pictures[pace.number % len(pictures)]
        for number, payload in enumerate(payloads):
            packet = stream.packet(payload, pace.number * TICKS, number == len(payloads) - 1)
            out.sendto(packet, ("127.0.0.1", port))


threading.Thread(target=send_audio, args=(int(sys.argv[3]),), daemon=True).start()
send_video(sys.argv[1], int(sys.argv[2]))
