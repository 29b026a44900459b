// The camera on its network: over TLS, at an address that is no loopback, with its token.
import assert from 'node:assert/strict';
import { networkInterfaces } from 'node:os';
import { test } from 'node:test';
import { limitMs } from '../support/sdk_limits.mjs';
import { withPlayerSite } from './support/player_site.mjs';
import { withCamera, withBrowser, withCameraAndBrowser } from './support/scene.mjs';
import { Stranger } from './support/stranger.mjs';
import { BARS, PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';
import { describeWav } from './support/wav.mjs';

const CAMERA_TONE_HERTZ = 440;
const REBOUND = 'rebound.example';
const addresses = Object.values(networkInterfaces()).flat();
const HOUSE = addresses.find(({ family, internal }) => family === 'IPv4' && !internal)?.address;
const SKIP = HOUSE ? false : 'this machine has the loopback address only, and no network namespace can be made';

const AT_HOME = ['--listen', `${HOUSE}:0`];
const OVER_TLS = [...AT_HOME, '--tls-self-signed'];

function open(context, camera, token) {
  return ViewerPage.open(context, camera, token ? `?token=${token}` : '');
}

async function sees(viewer) {
  await eventually('frames', PICTURE_LIMIT_MS, async () => (await viewer.videoFigures()).framesDecoded > 30);
  assert.deepEqual(await viewer.barColours(), BARS);
}

test('over TLS and with its token the camera is seen, heard and talked to', { skip: SKIP }, () =>
  withCameraAndBrowser(async (camera, context) => {
    assert.equal(new URL(camera.url).protocol, 'https:');
    assert.equal(new URL(camera.url).hostname, HOUSE);
    assert.match(camera.token, /^[0-9a-f]{32}$/);
    const viewer = await open(context, camera, camera.token);
    await viewer.call();
    const callId = await viewer.callId();
    await sees(viewer);
    await viewer.hears(CAMERA_TONE_HERTZ);
    await viewer.page.click('#talk');
    await viewer.page.waitForFunction(() => document.getElementById('level-out').value > 0.3, null, { timeout: 15000 });
    await viewer.keepScreenshot('beyond-localhost');
    await viewer.hangUp();
    await camera.idle(limitMs('release'));
    const { seconds, level } = describeWav(await camera.recording(callId));
    assert.ok(seconds > 0.5, `${seconds} s recorded`);
    assert.ok(level > 0.005, `level ${level}`);
  }, ...OVER_TLS),
);

for (const { name, token } of [
  { name: 'no token', token: '' },
  { name: 'a wrong token', token: '0123456789abcdef0123456789abcdef' },
]) {
  test(`with ${name} the page says what is missing, and nobody is called`, { skip: SKIP }, () =>
    withCameraAndBrowser(async (camera, context) => {
      const viewer = await open(context, camera, token);
      await viewer.page.click('#call');
      await viewer.waitForState('failed');
      assert.match(await viewer.page.textContent('#notice'), /wants its token/);
      assert.equal((await camera.get('/health')).calls, 0);
    }, ...OVER_TLS),
  );
}

test('without TLS there is a picture but no microphone, and the page says why', { skip: SKIP }, () =>
  withCameraAndBrowser(async (camera, context) => {
    const viewer = await open(context, camera, camera.token);
    await viewer.call();
    await sees(viewer);
    await viewer.page.click('#talk');
    await viewer.page.waitForFunction(() => document.getElementById('notice').textContent !== '');
    assert.match(await viewer.page.textContent('#notice'), /Talking needs a secure page/);
  }, ...AT_HOME),
);

test('a site that has the address and even the token gets nothing', { skip: SKIP }, () =>
  withPlayerSite((site) =>
    withCameraAndBrowser(async (camera, context) => {
      const guest = await open(context, camera, camera.token);
      await guest.call();
      const page = await context.newPage();
      await page.goto(site);
      const stranger = await Stranger.on(page, camera.url);
      const path = await guest.callPath();
      assert.equal(await stranger.readsByRequests(path, camera.token), '');
      assert.equal(await stranger.readsEvents(path), '');
      assert.deepEqual([...stranger.statuses], [403]);
      assert.equal(await stranger.framesTheCamera(), false);
      await camera.connectedCalls(1);
    }, ...OVER_TLS),
  ),
);

test('a name that was made to lead to the house gets nothing', { skip: SKIP }, () =>
  withCamera(
    (camera) =>
      withBrowser(
        async (context) => {
          const url = camera.url.replace(HOUSE, REBOUND);
          const page = await context.newPage();
          await page.goto(`${url}/`);
          const stranger = await Stranger.on(page, url);
          assert.match(await stranger.readsByRequests('', camera.token), /^(421 \{[^}]*\})+$/);
          assert.deepEqual([...stranger.statuses], [421]);
          assert.equal((await camera.get('/health')).calls, 0);
        },
        `--host-resolver-rules=MAP ${REBOUND} ${HOUSE}`,
      ),
    ...OVER_TLS,
  ),
);
