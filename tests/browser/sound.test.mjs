// Sound both ways between Chromium and the camera.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { limitMs } from '../support/sdk_limits.mjs';
import { withCameraAndBrowser } from './support/scene.mjs';
import { ANSWER_STYLES, PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';
import { describeWav } from './support/wav.mjs';

const CAMERA_TONE_HERTZ = 440;

for (const style of ANSWER_STYLES) {
  test(`with a ${style.name} Chromium hears the camera's tone`, () =>
    withCameraAndBrowser(async (camera, context) => {
      const viewer = await ViewerPage.open(context, camera, style.query);
      await viewer.call();
      await viewer.hears(CAMERA_TONE_HERTZ);
    }));

  test(`with a ${style.name} the camera hears Chromium's microphone`, () =>
    withCameraAndBrowser(async (camera, context) => {
      const viewer = await ViewerPage.open(context, camera, style.query);
      await viewer.call();
      const callId = await viewer.callId();
      await viewer.page.click('#sound');
      await viewer.page.click('#talk');
      // The fake microphone beeps once a second.
      await viewer.page.waitForFunction(() => document.getElementById('level-out').value > 0.3, null, { timeout: 15000 });
      await viewer.keepScreenshot(`talking-${style.name.replace(' ', '-')}`);
      await viewer.hangUp();
      await camera.idle(limitMs('release'));
      const { seconds, level } = describeWav(await camera.recording(callId));
      assert.ok(seconds > 0.5, `${seconds} s recorded`);
      assert.ok(level > 0.005, `level ${level}`);
    }));
}

test('the camera stops its sound when it is told to, and starts it again', () =>
  withCameraAndBrowser(async (camera, context) => {
    const viewer = await ViewerPage.open(context, camera);
    await viewer.call();
    await viewer.hears(CAMERA_TONE_HERTZ);
    assert.deepEqual(await viewer.select({ audio: false }), { video: 1, audio: false });
    await viewer.hearsNothing();
    const { framesDecoded } = await viewer.videoFigures();
    await eventually('the picture goes on', PICTURE_LIMIT_MS, async () => (await viewer.videoFigures()).framesDecoded > framesDecoded);
    assert.deepEqual(await viewer.select({ audio: true }), { video: 1, audio: true });
    await viewer.hears(CAMERA_TONE_HERTZ);
  }));

test("the page's sound switch mutes and unmutes the picture", () =>
  withCameraAndBrowser(async (camera, context) => {
    const viewer = await ViewerPage.open(context, camera);
    await viewer.call();
    const muted = () => viewer.page.$eval('#picture', (picture) => picture.muted);
    assert.equal(await muted(), true);
    await viewer.page.click('#sound');
    assert.equal(await muted(), false);
    await viewer.page.click('#sound');
    assert.equal(await muted(), true);
  }));
