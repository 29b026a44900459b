// Many viewers behind one call of the camera, with Chromium among them.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { HeadlessViewers, withChain } from './support/chain.mjs';
import { withBrowser, withCamera } from './support/scene.mjs';
import { PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';

const CAMERA_TONE_HERTZ = 440;
const EARLY_VIEWERS = 6;
const ALL_VIEWERS = EARLY_VIEWERS + 2;
const CONNECT_LIMIT_MS = 60000;
// A key frame a minute, and whenever somebody asks for one: without asking, a late viewer sees nothing.
const RARE_KEY_FRAMES =
  '1=videotestsrc is-live=true ! video/x-raw,format=I420,width=320,height=180,framerate=30/1 ! ' +
  'x264enc tune=zerolatency speed-preset=ultrafast bframes=0 key-int-max=1800 bitrate=300 ! ' +
  'video/x-h264,profile=constrained-baseline';
const LATE_VIEWER_SECONDS = '4';
// A request for a key frame is a single packet, and on a loaded machine it can get lost.
const MOST_LATE_VIEWERS = 3;

async function watching(url) {
  const response = await fetch(`${url}/health`);
  return (await response.json()).calls;
}

/** Chromium on the chain's page, once it has shown some pictures and the camera's tone. */
async function watchInBrowser(context, url) {
  const viewer = await ViewerPage.open(context, { url });
  await viewer.waitForState('connected', CONNECT_LIMIT_MS);
  await eventually('pictures', PICTURE_LIMIT_MS, async () => (await viewer.videoFigures())?.framesDecoded > 30);
  await viewer.hears(CAMERA_TONE_HERTZ);
  return viewer;
}

function assertPictureAndSound(calls, pictures) {
  for (const call of calls) {
    assert.equal(call.failure, null);
    assert.ok(call.video[pictures] > 10, `${call.video[pictures]} pictures`);
    assert.ok(call.audio.received > 20, `${call.audio.received} packets of sound`);
  }
}

/** What a viewer got that came late, on the same call of the camera as all others. */
async function watchLate(url, camera) {
  for (let turn = 1; ; turn++) {
    const late = new HeadlessViewers(url, '--seconds', LATE_VIEWER_SECONDS);
    await eventually('eight viewers', CONNECT_LIMIT_MS, async () => (await watching(url)) === ALL_VIEWERS);
    await camera.connectedCalls(1);
    const calls = await late.calls();
    if (calls[0].video.decoded > 0 || turn === MOST_LATE_VIEWERS) return calls;
  }
}

test('eight viewers, Chromium and a late one among them, get picture and sound out of one call of the camera', () =>
  withCamera(
    (camera) =>
      withChain(camera.url, (url) =>
        withBrowser(async (context) => {
          await camera.connectedCalls(1);
          const early = new HeadlessViewers(url, '--keep', '--no-decode', '--calls', String(EARLY_VIEWERS));
          const browser = await watchInBrowser(context, url);
          assertPictureAndSound(await watchLate(url, camera), 'decoded');
          const { framesDecoded } = await browser.videoFigures();
          await eventually('the picture goes on', PICTURE_LIMIT_MS, async () => (await browser.videoFigures()).framesDecoded > framesDecoded);
          await browser.keepScreenshot('chain');
          await browser.page.goto('about:blank');
          await eventually('the page is forgotten', CONNECT_LIMIT_MS, async () => (await watching(url)) === EARLY_VIEWERS);
          await camera.connectedCalls(1);
          assertPictureAndSound(await early.hangUp(), 'frames');
        }),
      ),
    '--video-pipeline',
    RARE_KEY_FRAMES,
  ));
