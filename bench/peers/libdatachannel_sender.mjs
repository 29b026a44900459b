// Sends the clip over libdatachannel, through the package node-datachannel, to whoever calls: libdatachannel_sender.mjs
// CLIP. Serves the part of the demo camera's HTTP interface that the headless viewer uses.
import { readFileSync } from 'node:fs';
import { createServer } from 'node:http';
import nodeDataChannel from 'node-datachannel';

// With its start code; a byte with the types of the slices follows.
const DELIMITER = Buffer.from([0, 0, 0, 1, 9]);
const PICTURE_MS = 1000 / 30;
const SOUND_MS = 20;
// A constant level instead of a tone: sending it costs the same.
const SOUND = Buffer.alloc(160, 0xd0);
const VIDEO_CLOCK = 90000;
const AUDIO_CLOCK = 8000;

/** The clip's access units, without their delimiters. */
function readPictures(path) {
  const clip = readFileSync(path);
  const pictures = [];
  let start = clip.indexOf(DELIMITER);
  while (start >= 0) {
    const next = clip.indexOf(DELIMITER, start + 1);
    pictures.push(clip.subarray(start + DELIMITER.length + 1, next < 0 ? clip.length : next));
    start = next;
  }
  return pictures;
}

/** The payload type that the offer gives a codec, and the name of its media section. */
function wanted(offer, kind, codec) {
  const section = offer.split(/^m=/m).find((part) => part.startsWith(`${kind} `));
  const [, payloadType] = section.match(new RegExp(`^a=rtpmap:(\\d+) ${codec}/`, 'm'));
  const [, mid] = section.match(/^a=mid:(\S+)/m);
  return { payloadType: Number(payloadType), mid };
}

/** A viewer's track, with the binding's own packetiser, reports and repeats of lost packets. */
class Track {
  constructor(connection, description, ssrc, payloadType, clock, makePacketizer) {
    description.addSSRC(ssrc, 'camera', 'clip', description.mid());
    this.clock = clock;
    this.timing = new nodeDataChannel.RtpPacketizationConfig(ssrc, 'camera', payloadType, clock);
    const packetizer = makePacketizer(this.timing);
    packetizer.addToChain(new nodeDataChannel.RtcpSrReporter(this.timing));
    packetizer.addToChain(new nodeDataChannel.RtcpNackResponder());
    this.track = connection.addTrack(description);
    this.track.setMediaHandler(packetizer);
  }

  send(data, seconds) {
    if (!this.track.isOpen()) return;
    this.timing.timestamp = Math.round(seconds * this.clock) % 2 ** 32;
    this.track.sendMessageBinary(data);
  }
}

function addVideo(connection, offer, ssrc) {
  const { mid, payloadType } = wanted(offer, 'video', 'H264');
  const description = new nodeDataChannel.Video(mid, 'SendOnly');
  description.addH264Codec(payloadType);
  return new Track(connection, description, ssrc, payloadType, VIDEO_CLOCK,
    (timing) => new nodeDataChannel.H264RtpPacketizer('StartSequence', timing));
}

function addAudio(connection, offer, ssrc) {
  const { mid, payloadType } = wanted(offer, 'audio', 'PCMU');
  const description = new nodeDataChannel.Audio(mid, 'SendOnly');
  description.addAudioCodec(payloadType, 'PCMU');
  return new Track(connection, description, ssrc, payloadType, AUDIO_CLOCK,
    (timing) => new nodeDataChannel.RtpPacketizer(timing));
}

const calls = new Map();
let newest = 0;

/** Calls `send` at each due time, without drift. */
function atPace(everyMs, send) {
  const start = performance.now();
  let number = 0;
  const step = () => {
    send(number, (number * everyMs) / 1000);
    number += 1;
    setTimeout(step, Math.max(0, start + number * everyMs - performance.now()));
  };
  step();
}

function answer(offer) {
  const connection = new nodeDataChannel.PeerConnection('sender', { iceServers: [] });
  newest += 1;
  const id = newest;
  const video = addVideo(connection, offer, 2 * id);
  const audio = addAudio(connection, offer, 2 * id + 1);
  const call = { connection, video, audio };
  return new Promise((resolve) => {
    connection.onGatheringStateChange((state) => {
      if (state !== 'complete') return;
      calls.set(id, call);
      resolve({ id, trickle: true, answer: connection.localDescription() });
    });
    connection.setRemoteDescription(offer, 'offer');
  });
}

async function bodyOf(request) {
  const parts = [];
  for await (const part of request) parts.push(part);
  return JSON.parse(Buffer.concat(parts).toString());
}

function respond(response, status, body, headers = {}) {
  response.writeHead(status, { 'Content-Type': 'application/json', ...headers });
  response.end(body === undefined ? undefined : JSON.stringify(body));
}

async function place(request, response) {
  const placed = await answer((await bodyOf(request)).sdp);
  respond(response, 201, placed, { Location: `/calls/${placed.id}` });
}

/** The answer holds every candidate, so the stream only reports the end. */
function openEvents(call, response) {
  response.writeHead(200, { 'Content-Type': 'text/event-stream' });
  response.flushHeaders();
  call.events = response;
}

async function addCandidate(call, request, response) {
  const { candidate, sdpMid } = await bodyOf(request);
  call.connection.addRemoteCandidate(candidate, sdpMid);
  respond(response, 204);
}

function hangUp(id, call, response) {
  calls.delete(id);
  call.connection.close();
  call.events?.end('id: 1\nevent: ended\ndata: {"reason":"the viewer hung up"}\n\n');
  respond(response, 204);
}

async function serve(request, response) {
  const { pathname } = new URL(request.url, 'http://localhost');
  const [, , id, part = ''] = pathname.split('/');
  const call = calls.get(Number(id));
  const what = `${request.method} ${call ? part : pathname}`;
  if (what === 'POST /calls') return place(request, response);
  if (what === 'GET /health') return respond(response, 200, { status: 'ok', calls: calls.size });
  if (what === 'GET events') return openEvents(call, response);
  if (what === 'POST candidates') return addCandidate(call, request, response);
  if (what === 'DELETE ') return hangUp(Number(id), call, response);
  return respond(response, 404, { error: 'not found' });
}

const pictures = readPictures(process.argv[2]);
atPace(PICTURE_MS, (number, seconds) => {
  for (const { video } of calls.values()) video.send(pictures[number % pictures.length], seconds);
});
atPace(SOUND_MS, (_number, seconds) => {
  for (const { audio } of calls.values()) audio.send(SOUND, seconds);
});

const server = createServer((request, response) => {
  serve(request, response).catch((error) => respond(response, 400, { error: error.message }));
});
server.listen(0, '127.0.0.1', () => console.log(`listening on http://127.0.0.1:${server.address().port}/`));
