// However the browser leaves, the camera keeps nothing of its call.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { limitMs } from '../support/sdk_limits.mjs';
import { withCameraAndBrowser } from './support/scene.mjs';
import { ANSWER_STYLES, PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';

const NOTICE_LIMIT_MS = limitMs('release');

/** Waits until the camera holds no more descriptors and threads than before. */
async function leavesNothing(camera, before) {
  await camera.idle(NOTICE_LIMIT_MS);
  let after;
  await eventually('threads and descriptors are as before', 20000, async () => {
    after = await camera.get('/health');
    return after.threads <= before.threads && after.descriptors <= before.descriptors;
  }).catch((error) => {
    throw new Error(`${error.message}: ${JSON.stringify(before)} became ${JSON.stringify(after)}`);
  });
}

/** The camera's figures once a first call has made what stays for good, and its page's connections are known. */
async function figuresAfterOneCall(camera, viewer) {
  await viewer.call();
  await viewer.hangUp();
  await camera.idle(NOTICE_LIMIT_MS);
  return camera.get('/health');
}

const DEPARTURES = [
  { name: 'hanging up on the page', leave: (viewer) => viewer.hangUp() },
  { name: 'closing the tab', leave: (viewer) => viewer.page.close() },
  { name: 'going to another page', leave: (viewer) => viewer.page.goto('about:blank') },
];

for (const { name, leave } of DEPARTURES) {
  test(`${name} ends the call and leaves nothing`, () =>
    withCameraAndBrowser(async (camera, context) => {
      const viewer = await ViewerPage.open(context, camera);
      const before = await figuresAfterOneCall(camera, viewer);
      await viewer.call();
      await camera.connectedCalls(1);
      await leave(viewer);
      await leavesNothing(camera, before);
      const log = await camera.log();
      assert.equal(log.match(/session: \d+, released/g).length, 2);
    }));
}

for (const style of ANSWER_STYLES) {
  test(`with a ${style.name} the page tells when the camera hangs up`, () =>
    withCameraAndBrowser(async (camera, context) => {
      const viewer = await ViewerPage.open(context, camera, style.query);
      await viewer.call();
      assert.equal(await camera.hangUp(await viewer.callPath()), 204);
      await viewer.waitForState('ended', NOTICE_LIMIT_MS);
      await camera.idle(NOTICE_LIMIT_MS);
      assert.notEqual(await viewer.page.textContent('#cover-text'), '');
    }));
}

test('a call after another shows a picture again', () =>
  withCameraAndBrowser(async (camera, context) => {
    const viewer = await ViewerPage.open(context, camera);
    for (let i = 0; i < 3; i++) {
      await viewer.call();
      await eventually('frames', PICTURE_LIMIT_MS, async () => (await viewer.videoFigures()).framesDecoded > 10);
      await viewer.hangUp();
      await viewer.waitForState('idle');
      await camera.idle(NOTICE_LIMIT_MS);
    }
  }));
