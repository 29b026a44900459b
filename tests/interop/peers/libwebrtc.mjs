// A viewer on libwebrtc, through the package @roamhq/wrtc, whose libwebrtc has no H.264.
import wrtc from '@roamhq/wrtc';
import { obey, options, record, speak, tell } from './peer.mjs';

const { RTCAudioSink, RTCAudioSource } = wrtc.nonstandard;
const RATE = 48000;
const EVERY_MS = 10;

const connection = new wrtc.RTCPeerConnection();
connection.addTransceiver('video', { direction: 'recvonly' });
const source = new RTCAudioSource();
if (options.watch) connection.addTransceiver('audio', { direction: 'recvonly' });
else connection.addTrack(source.createTrack());

connection.ontrack = ({ track }) => {
  if (track.kind !== 'audio') return;
  new RTCAudioSink(track).ondata = ({ samples, sampleRate, channelCount }) => {
    const rate = Buffer.alloc(4);
    rate.writeUInt32BE(sampleRate);
    const mono = samples.filter((_, i) => i % channelCount === 0);
    record('S', rate, Buffer.from(mono.buffer, mono.byteOffset, mono.byteLength));
  };
};
connection.onconnectionstatechange = () => {
  tell({ state: connection.connectionState });
  if (connection.connectionState === 'connected' && !options.watch) {
    speak(RATE, EVERY_MS, (samples) => source.onData({
      samples, sampleRate: RATE, bitsPerSample: 16, channelCount: 1, numberOfFrames: samples.length,
    }));
  }
};
connection.onicecandidate = ({ candidate }) => {
  if (options.complete && !candidate) tell({ offer: connection.localDescription.sdp });
  if (!options.complete && candidate?.candidate) tell({ candidate });
};
obey({
  answer: (sdp) => connection.setRemoteDescription({ type: 'answer', sdp }),
  candidate: (candidate) => connection.addIceCandidate(candidate),
  close: () => connection.close(),
});
const offer = await connection.createOffer();
if (!options.complete) tell({ offer: offer.sdp });
await connection.setLocalDescription(offer);
