// In which order a browser receives the frames of an H.264 stream, read from the frames before they are decoded.

/** Runs in the page: makes its next peer connection note the frames of its video. */
function noteFrames() {
  const SLICE = 1;
  const KEY_SLICE = 5;
  const PARAMETERS = 7;
  let numberBits = 0;

  class Bits {
    constructor(bytes) {
      // A 3 after two zeros only keeps the bytes from looking like the start of a unit.
      this.bytes = bytes.filter((byte, i) => !(byte === 3 && bytes[i - 1] === 0 && bytes[i - 2] === 0));
      this.at = 0;
    }
    fixed(count) {
      let value = 0;
      for (; count > 0; count--, this.at++) value = value * 2 + ((this.bytes[this.at >> 3] >> (7 - (this.at & 7))) & 1);
      return value;
    }
    variable() {
      let zeros = 0;
      while (this.fixed(1) === 0) zeros++;
      return 2 ** zeros - 1 + this.fixed(zeros);
    }
  }

  function* unitsOf(data) {
    for (let i = 0; i + 3 < data.length; i++) {
      if (data[i] === 0 && data[i + 1] === 0 && data[i + 2] === 1) yield data.subarray(i + 3, i + 35);
    }
  }

  function describe(data) {
    for (const unit of unitsOf(data)) {
      const type = unit[0] & 31;
      const bits = new Bits(unit.subarray(1));
      if (type === PARAMETERS) {
        bits.fixed(24);
        bits.variable();
        numberBits = bits.variable() + 4;
      }
      if (type === SLICE || type === KEY_SLICE) {
        for (let i = 0; i < 3; i++) bits.variable();
        return { isKey: type === KEY_SLICE, number: bits.fixed(numberBits), numbers: 2 ** numberBits };
      }
    }
    return null;
  }

  function note(frame, controller) {
    const description = describe(new Uint8Array(frame.data));
    if (window.receivedFrames.length > 0 || description?.isKey) window.receivedFrames.push(description);
    controller.enqueue(frame);
  }

  window.receivedFrames = [];
  window.RTCPeerConnection = class extends RTCPeerConnection {
    constructor(configuration) {
      super({ ...configuration, encodedInsertableStreams: true });
      this.addEventListener('track', ({ receiver, track }) => {
        const { readable, writable } = receiver.createEncodedStreams();
        const noted = track.kind === 'video' ? readable.pipeThrough(new TransformStream({ transform: note })) : readable;
        noted.pipeTo(writable);
      });
    }
  };
}

/** Notes every frame of the video of the page's next call in `window.receivedFrames`, from its first key frame on. */
export function watchFrames(page) {
  return page.evaluate(noteFrames);
}

/** The frames since watchFrames that do not build on the frame received before them, though they are no key frames. */
export async function misplacedFrames(page) {
  const frames = await page.evaluate(() => window.receivedFrames);
  const isMisplaced = ({ isKey, number, numbers }, i) => !isKey && number !== (frames[i - 1].number + 1) % numbers;
  return frames.map((frame, index) => ({ index, ...frame })).filter(isMisplaced);
}
