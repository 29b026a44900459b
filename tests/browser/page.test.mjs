// The page does what the person does on it, and nothing that the link to it says.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { withCameraAndBrowser } from './support/scene.mjs';
import { PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';

const SERVER = 'turn:127.0.0.1:9';
const ORDERS = `autostart=1&ice=${SERVER},user,credential&relay=1&talk=1`;

/** Notes how often the page asks for the microphone. */
function watchMicrophone(context) {
  return context.addInitScript(() => {
    window.microphonesAsked = 0;
    const { getUserMedia } = MediaDevices.prototype;
    MediaDevices.prototype.getUserMedia = function ask(...wish) {
      window.microphonesAsked++;
      return getUserMedia.apply(this, wish);
    };
  });
}

const microphonesAsked = (viewer) => viewer.page.evaluate(() => window.microphonesAsked);
const configuration = (viewer) => viewer.page.evaluate(() => window.zelrtc.pc.getConfiguration());

test('a link to the page neither calls nor talks nor chooses servers', () =>
  withCameraAndBrowser(async (camera, context) => {
    await watchMicrophone(context);
    const viewer = await ViewerPage.open(context, camera, `?${ORDERS}#${ORDERS}`);
    // What the page does by itself it does before it has heard from the camera.
    await viewer.page.waitForFunction(() => document.getElementById('calls').textContent === '0 calls on this camera');
    await viewer.waitForState('idle');
    assert.equal(await viewer.page.evaluate(() => window.zelrtc.pc), null);
    assert.equal((await camera.get('/health')).calls, 0);

    await viewer.call();
    const { iceServers, iceTransportPolicy } = await configuration(viewer);
    assert.deepEqual({ iceServers, iceTransportPolicy }, { iceServers: [], iceTransportPolicy: 'all' });
    assert.equal(await microphonesAsked(viewer), 0);
    await viewer.page.click('#talk');
    await viewer.page.waitForFunction(() => window.microphonesAsked === 1, null, { timeout: PICTURE_LIMIT_MS });
  }));

test('the person at the page chooses its server', () =>
  withCameraAndBrowser(async (camera, context) => {
    const viewer = await ViewerPage.open(context, camera);
    await viewer.page.click('.settings summary');
    await viewer.page.fill('#ice-url', SERVER);
    await viewer.page.fill('#ice-user', 'user');
    await viewer.page.fill('#ice-credential', 'pass, word');
    await viewer.page.click('#relay-only');
    await viewer.page.click('#call');
    await viewer.page.waitForFunction(() => window.zelrtc.pc);
    const { iceServers, iceTransportPolicy } = await configuration(viewer);
    assert.equal(iceTransportPolicy, 'relay');
    assert.deepEqual(iceServers, [{ urls: [SERVER], username: 'user', credential: 'pass, word' }]);
    await viewer.keepScreenshot('settings');
    await viewer.hangUp();
    await viewer.waitForState('idle');
  }));

test('a server that the browser cannot use is named, and the next call goes through', () =>
  withCameraAndBrowser(async (camera, context) => {
    const viewer = await ViewerPage.open(context, camera);
    await viewer.page.click('.settings summary');
    await viewer.page.fill('#ice-url', 'nonsense');
    await viewer.page.click('#call');
    await viewer.page.waitForFunction(() => document.getElementById('notice').textContent.includes('nonsense'));
    assert.equal((await camera.get('/health')).calls, 0);
    await viewer.page.fill('#ice-url', '');
    await viewer.call();
  }));
