// What the pages of other sites get of the camera: nothing.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { withPlayerSite } from './support/player_site.mjs';
import { withBrowser, withCamera, withCameraAndBrowser } from './support/scene.mjs';
import { Stranger } from './support/stranger.mjs';
import { ViewerPage } from './support/viewer_page.mjs';

const REBOUND = 'rebound.example';

/** Runs `test(camera, stranger, context)` with a page of another site, by its name and not only by its port. */
function withStranger(test) {
  return withPlayerSite((site) => {
    const onItsPage = async (camera, context) => {
      const page = await context.newPage();
      await page.goto(site.replace('127.0.0.1', 'localhost'));
      await test(camera, await Stranger.on(page, camera.url), context);
    };
    return withCameraAndBrowser(onItsPage);
  });
}

/** The call of somebody who may, which goes on whatever the stranger tries. */
async function withGuest(context, camera, attack) {
  const guest = await ViewerPage.open(context, camera);
  await guest.call();
  await attack(await guest.callPath());
  await camera.connectedCalls(1);
}

test('requests of another site get nothing, whatever it knows', () =>
  withStranger((camera, stranger, context) =>
    withGuest(context, camera, async (path) => {
      assert.equal(await stranger.readsByRequests(path), '');
      assert.equal(await stranger.readsEvents(path), '');
      assert.deepEqual([...stranger.statuses], [403]);
    }),
  ));

test('nothing of the camera becomes part of a page of another site', () =>
  withStranger(async (camera, stranger) => {
    for (const path of ['/', '/calls', '/health']) {
      for (const name of ['img', 'script']) assert.equal(await stranger.sees(name, path), false, `${name} of ${path}`);
    }
    assert.deepEqual([...stranger.statuses], [403]);
  }));

test('no page shows the camera in a frame', () =>
  withStranger(async (camera, stranger) => {
    assert.equal(await stranger.framesTheCamera(), false);
  }));

for (const path of ['/calls', '/whep']) {
  test(`a form of another site places no call at ${path}`, () =>
    withStranger(async (camera, stranger) => {
      assert.equal(await stranger.postsForm(path), 403);
      assert.equal((await camera.get('/health')).calls, 0);
    }));
}

test('a window that another site opens on the page places no call, and the site cannot look into it', () =>
  withStranger(async (camera, stranger, context) => {
    const opened = context.waitForEvent('page');
    await stranger.page.evaluate((url) => (window.opened = window.open(url)), `${camera.url}/?autostart=1`);
    const viewer = new ViewerPage(await opened);
    await viewer.page.waitForFunction(() => document.getElementById('calls').textContent !== '');
    await viewer.waitForState('idle');
    await assert.rejects(stranger.page.evaluate(() => window.opened.document.title));
    assert.equal((await camera.get('/health')).calls, 0);
  }));

test('a page whose name was made to lead to the camera gets nothing', () =>
  withCamera((camera) =>
    withBrowser(
      async (context) => {
        const url = camera.url.replace('127.0.0.1', REBOUND);
        const page = await context.newPage();
        // Whatever this shows, its scripts would be of the same origin as the camera under that name.
        await page.goto(`${url}/`);
        const stranger = await Stranger.on(page, url);
        assert.match(await stranger.readsByRequests(), /^(421 \{[^}]*\})+$/);
        assert.equal(await stranger.framesTheCamera(), false);
        assert.equal(await stranger.postsForm('/calls'), 421);
        assert.deepEqual([...stranger.statuses], [421]);
        assert.equal((await camera.get('/health')).calls, 0);
      },
      `--host-resolver-rules=MAP ${REBOUND} 127.0.0.1`,
    ),
  ));
