// The camera's page in a call: its controls, and what the browser measures of the call.
import { mkdir } from 'node:fs/promises';
import { join } from 'node:path';
import { HAS_COMPLETE_ANSWER, limitMs } from '../../support/sdk_limits.mjs';
import { eventually } from './waiting.mjs';

const CONNECT_LIMIT_MS = limitMs('connect');
/** The picture moves 30 times a second; the rest is for a machine that has other work. */
export const PICTURE_LIMIT_MS = 20000;

/** Both ways to answer a call, by the page's query. */
export const ANSWER_STYLES = [
  { name: 'trickle', query: '?trickle=1' },
  ...(HAS_COMPLETE_ANSWER ? [{ name: 'complete answer', query: '?trickle=0' }] : []),
];

/** The test picture's bars from left to right: whether red, green and blue are lit. */
export const BARS = ['white', 'yellow', 'cyan', 'green', 'magenta', 'red', 'blue', 'black'];

const COLOURS = {
  '111': 'white', '110': 'yellow', '011': 'cyan', '010': 'green',
  '101': 'magenta', '100': 'red', '001': 'blue', '000': 'black',
};

export class ViewerPage {
  constructor(page) {
    this.page = page;
  }

  /** Opens the camera's page in a tab of its own. */
  static async open(context, camera, query = '') {
    const page = await context.newPage();
    await page.goto(`${camera.url}/${query}`);
    return new ViewerPage(page);
  }

  /** Presses Call and notes when the first picture is shown; returns once the browser is connected. */
  async call() {
    await this.page.evaluate(() => {
      const picture = document.getElementById('picture');
      window.callPlacedAt = performance.now();
      picture.requestVideoFrameCallback((now) => (window.firstPictureMs = now - window.callPlacedAt));
    });
    await this.page.click('#call');
    await this.waitForState('connected');
  }

  waitForState(state, longestMs = CONNECT_LIMIT_MS) {
    return this.page.waitForFunction((wanted) => window.zelrtc.state === wanted, state, { timeout: longestMs });
  }

  hangUp() {
    return this.page.click('#hangup');
  }

  callId() {
    return this.page.evaluate(() => window.zelrtc.callId);
  }

  callPath() {
    return this.page.evaluate(() => window.zelrtc.callPath);
  }

  /** Milliseconds from pressing Call to the first picture on the screen. */
  async firstPictureMs() {
    const shown = await this.page.waitForFunction(() => window.firstPictureMs, null, { timeout: CONNECT_LIMIT_MS });
    return shown.jsonValue();
  }

  /** The browser's figures for the received video, none older than the call of this method. */
  videoFigures() {
    return this.page.evaluate(async () => {
      const asked = performance.timeOrigin + performance.now();
      // Chromium hands out the same figures again for 50 ms.
      for (;;) {
        for (const report of (await window.zelrtc.pc.getStats()).values()) {
          if (report.type !== 'inbound-rtp' || report.kind !== 'video') continue;
          if (report.timestamp >= asked) return { ...report };
        }
        await new Promise(requestAnimationFrame);
      }
    });
  }

  /** The names of the eight colours across the picture that is shown. */
  async barColours() {
    const lit = await this.page.evaluate(() => {
      const picture = document.getElementById('picture');
      const canvas = new OffscreenCanvas(picture.videoWidth, picture.videoHeight);
      const context = canvas.getContext('2d');
      context.drawImage(picture, 0, 0);
      return Array.from({ length: 8 }, (_, bar) => {
        const x = Math.floor(((bar + 0.5) * canvas.width) / 8);
        const y = Math.floor(canvas.height * 0.78);
        return [...context.getImageData(x, y, 1, 1).data].slice(0, 3).map((part) => (part > 128 ? 1 : 0)).join('');
      });
    });
    return lit.map((colour) => COLOURS[colour]);
  }

  /** Selects a stream on the page; returns the figures before and at the first picture of that width. */
  async selectStream(stream, width) {
    const before = await this.videoFigures();
    await this.page.evaluate((wanted) => {
      const picture = document.getElementById('picture');
      window.selected = new Promise((resolve) => {
        const look = (_, frame) => (frame.width === wanted ? resolve(true) : picture.requestVideoFrameCallback(look));
        picture.requestVideoFrameCallback(look);
      });
    }, width);
    await this.page.selectOption('#stream', String(stream));
    await this.page.evaluate(() => window.selected);
    return { before, after: await this.videoFigures() };
  }

  /** Waits until the camera's sound has its strongest part at `hertz`, well above everything else. */
  hears(hertz, longestMs = PICTURE_LIMIT_MS) {
    return eventually(`a tone of ${hertz} Hz`, longestMs, async () => {
      const { peakHertz, decibels } = await this.#listen();
      return decibels > -50 && Math.abs(peakHertz - hertz) < 15;
    });
  }

  /** Waits until nothing has been heard for longer than the tone's own pauses. */
  async hearsNothing(longestMs = PICTURE_LIMIT_MS) {
    let quietSince = Date.now();
    await eventually('silence', longestMs, async () => {
      const { decibels } = await this.#listen();
      if (decibels > -70) quietSince = Date.now();
      return Date.now() - quietSince > 1000;
    });
  }

  #listen() {
    return this.page.evaluate(() => {
      if (!window.spectrum) {
        const audio = new AudioContext();
        window.spectrum = new AnalyserNode(audio, { fftSize: 8192, smoothingTimeConstant: 0 });
        const track = window.zelrtc.pc.getReceivers().find((receiver) => receiver.track.kind === 'audio').track;
        audio.createMediaStreamSource(new MediaStream([track])).connect(window.spectrum);
      }
      const bins = new Float32Array(window.spectrum.frequencyBinCount);
      window.spectrum.getFloatFrequencyData(bins);
      const peak = bins.reduce((best, value, i) => (value > bins[best] ? i : best), 0);
      const hertzPerBin = window.spectrum.context.sampleRate / window.spectrum.fftSize;
      return { peakHertz: peak * hertzPerBin, decibels: Math.max(bins[peak], -200) };
    });
  }

  /** Keeps a picture of the page in the build folder, for people to look at. */
  async keepScreenshot(name) {
    const folder = process.env.ZELRTC_OUTPUT ?? '.';
    await mkdir(folder, { recursive: true });
    await this.page.screenshot({ path: join(folder, `${name}.png`) });
  }

  /** Selects what the camera sends, as the page's own requests do. */
  select(streams) {
    return this.page.evaluate(async (body) => {
      const headers = { 'Content-Type': 'application/json' };
      const path = `${window.zelrtc.callPath}/streams`;
      const response = await fetch(path, { method: 'POST', headers, body: JSON.stringify(body) });
      return response.json();
    }, streams);
  }
}
