// Firefox calls the camera: from the camera's own page, and with a WHEP player on another site.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { limitMs } from '../support/sdk_limits.mjs';
import { Firefox, PLATFORM_H264 } from './support/firefox.mjs';
import { withPlayerSite } from './support/player_site.mjs';
import { recordedTone } from './support/recorded_tone.mjs';
import { withCamera } from './support/scene.mjs';
import { BARS, PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';
import { describeWav } from './support/wav.mjs';

const NOTICE_LIMIT_MS = limitMs('release');
const CAMERA_TONE_HERTZ = 440;
const LEAST_FRAMES = 30;

function withCameraAndFirefox(preferences, test, ...cameraFlags) {
  const withFirefox = async (camera) => {
    const firefox = await Firefox.start(preferences);
    try {
      await test(camera, firefox);
    } finally {
      await firefox.close();
    }
  };
  return withCamera(withFirefox, ...cameraFlags);
}

async function seesAndHears(viewer) {
  await eventually(`${LEAST_FRAMES} frames`, PICTURE_LIMIT_MS, async () => {
    return (await viewer.videoFigures()).framesDecoded > LEAST_FRAMES;
  });
  assert.deepEqual(await viewer.barColours(), BARS);
  await eventually(`a tone of ${CAMERA_TONE_HERTZ} Hz`, PICTURE_LIMIT_MS, async () => {
    const { hertz, amplitude } = await recordedTone(viewer.page);
    return amplitude > 0.05 && hertz === CAMERA_TONE_HERTZ;
  });
}

async function callsFromItsPage(camera, firefox) {
  const viewer = await ViewerPage.open(firefox, camera);
  await viewer.call();
  const callId = await viewer.callId();
  await seesAndHears(viewer);
  await viewer.page.click('#talk');
  await viewer.page.waitForFunction(() => document.getElementById('level-out').value > 0.3, null, { timeout: 15000 });
  await viewer.keepScreenshot('firefox');
  await viewer.hangUp();
  await camera.idle(NOTICE_LIMIT_MS);
  assert.ok(describeWav(await camera.recording(callId)).level > 0.005);
  await viewer.page.close();
}

async function playsOnAnotherSite(camera, firefox, site) {
  const page = await firefox.newPage();
  await page.goto(site);
  const session = await page.evaluate((endpoint) => window.play(endpoint), `${camera.url}/whep`);
  const viewer = new ViewerPage(page);
  await viewer.waitForState('connected');
  await seesAndHears(viewer);
  await page.evaluate(() => window.stop());
  await camera.idle(NOTICE_LIMIT_MS);
  assert.equal((await fetch(session, { method: 'DELETE' })).status, 404);
}

test('Firefox with H.264 sees, hears and is heard, and plays the camera on another site', () =>
  withPlayerSite((site) => {
    const everywhere = async (camera, firefox) => {
      await callsFromItsPage(camera, firefox);
      await playsOnAnotherSite(camera, firefox, site);
    };
    return withCameraAndFirefox(PLATFORM_H264, everywhere, '--allow-origin', new URL(site).origin);
  }));

test('Firefox without H.264 is told why there is no picture', () =>
  withCameraAndFirefox({}, async (camera, firefox) => {
    const viewer = await ViewerPage.open(firefox, camera);
    await viewer.page.click('#call');
    await viewer.waitForState('failed');
    assert.match(await viewer.page.textContent('#notice'), /cannot show H\.264/);
    await viewer.keepScreenshot('firefox-without-h264');
    await camera.idle(NOTICE_LIMIT_MS);
  }));
