"""Offers that any camera takes, of viewers that never connect."""
import json
import secrets

TYPE_JSON = "Content-Type: application/json"
TYPE_SDP = "Content-Type: application/sdp"


def sdp():
    fingerprint = ":".join(f"{byte:02X}" for byte in secrets.token_bytes(32))
    transport = [f"a=ice-ufrag:{secrets.token_hex(4)}", f"a=ice-pwd:{secrets.token_hex(16)}",
                 f"a=fingerprint:sha-256 {fingerprint}", "a=setup:actpass", "a=rtcp-mux"]
    lines = ["v=0", f"o=- {secrets.randbits(60)} 2 IN IP4 127.0.0.1", "s=-", "t=0 0", "a=group:BUNDLE 0 1",
             "m=audio 9 UDP/TLS/RTP/SAVPF 0", "c=IN IP4 0.0.0.0", "a=mid:0", "a=sendrecv", *transport,
             "a=rtpmap:0 PCMU/8000",
             "m=video 9 UDP/TLS/RTP/SAVPF 96", "c=IN IP4 0.0.0.0", "a=mid:1", "a=recvonly", *transport,
             "a=rtpmap:96 H264/90000", "a=fmtp:96 profile-level-id=42e01f;packetization-mode=1",
             "a=rtcp-fb:96 nack", "a=rtcp-fb:96 nack pli"]
    return "\r\n".join(lines) + "\r\n"


def offer(text=None):
    return json.dumps({"type": "offer", "sdp": text or sdp()}).encode()


def candidate(number=0):
    port = 10000 + number % 50000
    return json.dumps({"candidate": f"candidate:{number} 1 udp 2113937151 127.0.0.1 {port} typ host", "sdpMid": "0",
                       "sdpMLineIndex": 0}).encode()
