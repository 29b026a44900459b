// Another stream during a call.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { withCameraAndBrowser } from './support/scene.mjs';
import { ANSWER_STYLES, BARS, ViewerPage } from './support/viewer_page.mjs';

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
        const { before, after } = await viewer.switchTo(stream, width);
        assert.equal(await viewer.page.$eval('#picture', (picture) => picture.videoWidth), width);
        assert.ok(after.keyFramesDecoded > before.keyFramesDecoded, `no key frame before the first ${width} wide one`);
        assert.deepEqual(await viewer.barColours(), BARS);
      }
    }));
}
