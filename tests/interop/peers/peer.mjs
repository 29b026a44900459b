// What the peers on Node share: the lines they exchange with the runner, the file of what they receive, their voice.
import { openSync, writeSync } from 'node:fs';
import { createInterface } from 'node:readline';
import { parseArgs } from 'node:util';

const SAMPLE_RATE = 8000;
const TALK_HERTZ = 700;
const FRAME_SAMPLES = 160;
const FRAME_MS = 20;
const VOICE_SSRC = 0x7a656c31;

export const { values: options } = parseArgs({
  options: {
    received: { type: 'string' },
    complete: { type: 'boolean', default: false },
    watch: { type: 'boolean', default: false },
    'no-reports': { type: 'boolean', default: false },
    // What some stacks let their users choose.
    unbundled: { type: 'boolean', default: false },
    'payload-type': { type: 'string', default: '102' },
    fmtp: { type: 'string', default: 'level-asymmetry-allowed=1;packetization-mode=1;profile-level-id=42e01f' },
  },
});
const received = openSync(options.received, 'w');

export function tell(message) {
  process.stdout.write(`${JSON.stringify(message)}\n`);
}

function fail(error) {
  tell({ failure: String(error?.message ?? error) });
  process.exit(1);
}
process.on('uncaughtException', fail);
process.on('unhandledRejection', fail);

/** Calls the handlers `answer`, `candidate` and `close` as the runner tells; ends the process after `close`. */
export function obey(handlers) {
  createInterface({ input: process.stdin }).on('line', async (line) => {
    const [[name, value]] = Object.entries(JSON.parse(line));
    await handlers[name](value);
    if (name === 'close') process.exit(0);
  });
}

/** Appends a record: R with an RTP packet, S with a sample rate and samples. */
export function record(kind, ...parts) {
  const head = Buffer.alloc(5);
  head.write(kind, 0, 'latin1');
  head.writeUInt32BE(parts.reduce((sum, part) => sum + part.length, 0), 1);
  writeSync(received, Buffer.concat([head, ...parts]));
}

function mulaw(sample) {
  const sign = sample < 0 ? 0x80 : 0;
  const magnitude = Math.abs(sample) + 132;
  const exponent = Math.max(0, 31 - Math.clz32(magnitude) - 7);
  return ~(sign | (exponent << 4) | ((magnitude >> (exponent + 3)) & 15)) & 0xff;
}

/** Hands over the samples of the voice, `rate / 1000 * everyMs` of them each time. */
export function speak(rate, everyMs, send) {
  const count = (rate / 1000) * everyMs;
  const start = performance.now();
  let number = 0;
  const timer = setInterval(() => {
    while (number < ((performance.now() - start) / everyMs) * count) {
      const first = number;
      send(Int16Array.from({ length: count }, (_, i) =>
        Math.round(8000 * Math.sin((2 * Math.PI * TALK_HERTZ * (first + i)) / rate))), first);
      number += count;
    }
  }, everyMs / 2);
  timer.unref();
}

/** Hands over the voice as mu-law in whole RTP packets. */
export function speakInPackets(payloadType, send) {
  speak(SAMPLE_RATE, FRAME_MS, (samples, first) => {
    const packet = Buffer.alloc(12 + FRAME_SAMPLES);
    packet.writeUInt16BE(0x8000 | payloadType, 0);
    packet.writeUInt16BE((first / FRAME_SAMPLES) & 0xffff, 2);
    packet.writeUInt32BE(first, 4);
    packet.writeUInt32BE(VOICE_SSRC, 8);
    samples.forEach((sample, i) => packet.writeUInt8(mulaw(sample), 12 + i));
    send(packet);
  });
}

export { VOICE_SSRC };
