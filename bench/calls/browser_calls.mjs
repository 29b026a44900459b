// Times calls from Chromium on the camera's own page: browser_calls.mjs CALLS FILE. Writes JSON: for each kind of
// answer, milliseconds from sending the offer to the answer, to the connection and to the first picture shown.
// ZELRTC_CAMERA names the camera's executable.
import { writeFile } from 'node:fs/promises';
import { ViewerPage, ANSWER_STYLES } from '../../tests/browser/support/viewer_page.mjs';
import { withCameraAndBrowser } from '../../tests/browser/support/scene.mjs';

const LIMIT_MS = 20000;

/** Runs in the page before its own script: notes the time of each step of a call. */
function watchSteps() {
  const steps = (window.steps = {});
  const reach = (name, at) => (steps[name] ??= at);
  const send = window.fetch;
  window.fetch = async (resource, options) => {
    const isOffer = options?.method === 'POST' && /^\/calls(\?|$)/.test(resource);
    if (isOffer) reach('offer', performance.now());
    const response = await send(resource, options);
    if (isOffer) reach('answer', performance.now());
    return response;
  };
  window.RTCPeerConnection = class extends window.RTCPeerConnection {
    constructor(...settings) {
      super(...settings);
      this.addEventListener('connectionstatechange', () => {
        if (this.connectionState === 'connected') reach('connected', performance.now());
      });
    }
  };
  document.addEventListener('DOMContentLoaded', () => {
    const picture = document.getElementById('picture');
    picture.requestVideoFrameCallback((_, frame) => reach('firstPicture', frame.presentationTime));
  });
}

async function timeCall(context, camera, query) {
  const { page } = await ViewerPage.open(context, camera, query);
  try {
    await page.click('#call');
    const reached = await page.waitForFunction(
      () => window.steps.connected && window.steps.firstPicture && window.steps, null, { timeout: LIMIT_MS });
    const { offer, ...steps } = await reached.jsonValue();
    await page.click('#hangup');
    await camera.idle(LIMIT_MS);
    return Object.fromEntries(Object.entries(steps).map(([name, at]) => [name, at - offer]));
  } finally {
    await page.close();
  }
}

const count = Number(process.argv[2]);
const path = process.argv[3];
if (!(count > 0) || !path) throw new Error('usage: browser_calls.mjs CALLS FILE');
const times = Object.fromEntries(ANSWER_STYLES.map(({ name }) => [name, []]));
await withCameraAndBrowser(async (camera, context) => {
  await context.addInitScript(watchSteps);
  for (const { query } of ANSWER_STYLES) await timeCall(context, camera, query); // the first call starts codecs
  for (let i = 0; i < count; i++) {
    for (const { name, query } of ANSWER_STYLES) times[name].push(await timeCall(context, camera, query));
  }
}, '--log-level', '5');
await writeFile(path, JSON.stringify(times, null, 1));
for (const [name, calls] of Object.entries(times)) {
  const median = (step) => calls.map((call) => call[step]).sort((a, b) => a - b)[calls.length >> 1].toFixed(1);
  console.log(
    `Chromium, ${name}: answer ${median('answer')} ms, connected ${median('connected')} ms, ` +
      `first picture ${median('firstPicture')} ms (medians)`,
  );
}
