// A viewer on werift, with the codecs that its user has to name.
import { MediaStreamTrack, RTCPeerConnection, useH264, usePCMU } from 'werift';
import { obey, options, record, speakInPackets, tell } from './peer.mjs';
import { startStunServer } from './stun_server.mjs';

const connection = new RTCPeerConnection({
  codecs: { video: [useH264({ parameters: options.fmtp })], audio: [usePCMU()] },
  bundlePolicy: options.unbundled ? 'disable' : 'max-bundle',
  // Without one it asks a public server, and waits five seconds for it.
  iceServers: [{ urls: await startStunServer() }],
});
const direction = options.watch ? 'recvonly' : 'sendrecv';
const voice = new MediaStreamTrack({ kind: 'audio' });
const transceivers = [
  connection.addTransceiver('video', { direction: 'recvonly' }),
  connection.addTransceiver(options.watch ? 'audio' : voice, { direction }),
];
for (const transceiver of transceivers) {
  transceiver.onTrack.subscribe((track) => track.onReceiveRtp.subscribe((packet) => record('R', packet.serialize())));
}
connection.connectionStateChange.subscribe((state) => {
  tell({ state });
  if (state === 'connected' && !options.watch) speakInPackets(0, (packet) => voice.writeRtp(packet));
});
if (!options.complete) {
  connection.onIceCandidate.subscribe((candidate) => candidate && tell({ candidate: candidate.toJSON() }));
}
obey({
  answer: (sdp) => connection.setRemoteDescription({ type: 'answer', sdp }),
  candidate: (candidate) => connection.addIceCandidate(candidate),
  close: () => connection.close(),
});
const offer = await connection.createOffer();
if (!options.complete) tell({ offer: offer.sdp });
await connection.setLocalDescription(offer);
if (options.complete) tell({ offer: connection.localDescription.sdp });
