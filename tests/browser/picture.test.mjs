// Chromium shows the camera's picture.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { withCameraAndBrowser } from './support/scene.mjs';
import { ANSWER_STYLES, BARS, PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';

const LEAST_FRAMES = 100;

for (const style of ANSWER_STYLES) {
  test(`with a ${style.name} Chromium decodes the test picture`, () =>
    withCameraAndBrowser(async (camera, context) => {
      const viewer = await ViewerPage.open(context, camera, style.query);
      await viewer.call();
      const firstPictureMs = await viewer.firstPictureMs();
      const start = Date.now();
      const { framesDecoded } = await viewer.videoFigures();
      const figures = await eventually(`${LEAST_FRAMES} frames`, PICTURE_LIMIT_MS, async () => {
        const now = await viewer.videoFigures();
        return now.framesDecoded - framesDecoded >= LEAST_FRAMES && now;
      });
      console.log(
        `${style.name}: first picture after ${firstPictureMs.toFixed(0)} ms, ${LEAST_FRAMES} frames in ` +
          `${Date.now() - start} ms, ${figures.framesDropped} dropped, ${figures.keyFramesDecoded} key frames`,
      );
      assert.deepEqual(await viewer.barColours(), BARS);
      assert.equal(figures.frameWidth, 640);
      assert.equal(figures.frameHeight, 360);
    }));
}

test('a second viewer at the same time sees its own call', () =>
  withCameraAndBrowser(async (camera, context) => {
    const first = await ViewerPage.open(context, camera);
    const second = await ViewerPage.open(context, camera);
    await first.call();
    await second.call();
    await camera.connectedCalls(2);
    assert.notEqual(await first.callId(), await second.callId());

    await second.selectStream(2, 320);
    assert.deepEqual(await second.barColours(), BARS);
    assert.equal((await first.videoFigures()).frameWidth, 640);

    await second.hangUp();
    await camera.connectedCalls(1);
    const { framesDecoded } = await first.videoFigures();
    await eventually('the first viewer goes on', PICTURE_LIMIT_MS, async () => {
      return (await first.videoFigures()).framesDecoded > framesDecoded + 30;
    });
  }));
