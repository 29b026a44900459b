// A viewer on libdatachannel, through the package node-datachannel. It takes RTP as it is.
import nodeDataChannel from 'node-datachannel';
import { VOICE_SSRC, obey, options, record, speakInPackets, tell } from './peer.mjs';

const MULAW = 0;

function isRtcp(packet) {
  return packet[1] >= 192 && packet[1] <= 223;
}

function receive(track) {
  if (!options['no-reports']) track.setMediaHandler(new nodeDataChannel.RtcpReceivingSession());
  track.onMessage((packet) => {
    if (!isRtcp(packet)) record('R', packet);
  });
}

const connection = new nodeDataChannel.PeerConnection('viewer', { iceServers: [], disableAutoNegotiation: true });
const video = new nodeDataChannel.Video('video', 'RecvOnly');
video.addVideoCodec(Number(options['payload-type']), 'H264', options.fmtp);
const audio = new nodeDataChannel.Audio('audio', options.watch ? 'RecvOnly' : 'SendRecv');
audio.addAudioCodec(MULAW, 'PCMU');
if (!options.watch) audio.addSSRC(VOICE_SSRC, 'viewer', 'viewer', 'voice');
const tracks = [video, audio].map((description) => connection.addTrack(description));
tracks.forEach(receive);
if (!options.watch) {
  tracks[1].onOpen(() => speakInPackets(MULAW, (packet) => tracks[1].isOpen() && tracks[1].sendMessageBinary(packet)));
}

connection.onStateChange((state) => tell({ state }));
if (options.complete) {
  connection.onGatheringStateChange((state) => {
    if (state === 'complete') tell({ offer: connection.localDescription().sdp });
  });
} else {
  connection.onLocalDescription((sdp) => tell({ offer: sdp }));
  connection.onLocalCandidate((candidate, sdpMid) => {
    tell({ candidate: { candidate: candidate.replace(/^a=/, ''), sdpMid, sdpMLineIndex: sdpMid === 'video' ? 0 : 1 } });
  });
}
connection.setLocalDescription('offer');
obey({
  answer: (sdp) => connection.setRemoteDescription(sdp, 'answer'),
  candidate: ({ candidate, sdpMid }) => connection.addRemoteCandidate(candidate, sdpMid),
  close: () => {
    connection.close();
    nodeDataChannel.cleanup();
  },
});
