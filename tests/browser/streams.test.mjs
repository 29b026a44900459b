// Another stream during a call.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { misplacedFrames, watchFrames } from './support/frame_order.mjs';
import { withCameraAndBrowser } from './support/scene.mjs';
import { ANSWER_STYLES, BARS, PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';

const SIZES = [
  { stream: 2, width: 320 },
  { stream: 0, width: 1280 },
];

for (const style of ANSWER_STYLES) {
  test(`with a ${style.name} the picture changes its size at a key frame`, () =>
    withCameraAndBrowser(async (camera, context) => {
      const viewer = await ViewerPage.open(context, camera, style.query);
      await viewer.call();
      await viewer.firstPictureMs();
      for (const { stream, width } of SIZES) {
        const { before, after } = await viewer.selectStream(stream, width);
        assert.equal(await viewer.page.$eval('#picture', (picture) => picture.videoWidth), width);
        assert.ok(after.keyFramesDecoded > before.keyFramesDecoded, `no key frame before the first ${width} wide one`);
        assert.deepEqual(await viewer.barColours(), BARS);
      }
    }));
}

// The streams run all the while because somebody watches them, so a change meets them between two key frames.
test('a stream that others watch begins with a key frame, too', () =>
  withCameraAndBrowser(async (camera, context) => {
    const viewer = await ViewerPage.open(context, camera);
    await watchFrames(viewer.page);
    await viewer.call();
    for (const { stream, width } of SIZES) {
      const other = await ViewerPage.open(context, camera);
      await other.call();
      await other.selectStream(stream, width);
    }
    await viewer.page.bringToFront();
    for (const { stream, width } of [...SIZES, ...SIZES]) {
      await viewer.selectStream(stream, width);
      const seen = await viewer.page.evaluate(() => window.receivedFrames.length);
      await eventually('frames follow', PICTURE_LIMIT_MS, async () => {
        return (await viewer.page.evaluate(() => window.receivedFrames.length)) > seen + 10;
      });
    }
    assert.deepEqual(await misplacedFrames(viewer.page), []);
  }));
