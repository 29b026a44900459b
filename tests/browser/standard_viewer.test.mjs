// A WHEP player that is not ours, on a site of another origin than the camera's.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { limitMs } from '../support/sdk_limits.mjs';
import { withPlayerSite } from './support/player_site.mjs';
import { withCameraAndBrowser } from './support/scene.mjs';
import { BARS, PICTURE_LIMIT_MS, ViewerPage } from './support/viewer_page.mjs';
import { eventually } from './support/waiting.mjs';

const NOTICE_LIMIT_MS = limitMs('release');
const CAMERA_TONE_HERTZ = 440;
// The camera asks for none; a player that has one sends it, and needs the permission to.
const TOKEN = 'a-token';
const SDP = 'application/sdp';
const FRAGMENT = 'application/trickle-ice-sdpfrag';

/** Runs `test(camera, viewer)` with the player's page in a tab. */
function withPlayer(test) {
  return withPlayerSite((site) => {
    const { origin } = new URL(site);
    const onItsPage = async (camera, context) => {
      const page = await context.newPage();
      await page.goto(site);
      assert.notEqual(origin, camera.url);
      await test(camera, new ViewerPage(page));
    };
    return withCameraAndBrowser(onItsPage, '--allow-origin', origin);
  });
}

/** Makes the player play; returns the address of its session in the camera. */
async function play(viewer, camera) {
  const session = await viewer.page.evaluate(([url, token]) => window.play(url, token), [`${camera.url}/whep`, TOKEN]);
  await viewer.waitForState('connected');
  return session;
}

/** What a script on the player's site can read of the camera's response. */
function ask(viewer, url, options) {
  return viewer.page.evaluate(
    async ([address, wish]) => {
      const response = await fetch(address, wish);
      const { status, headers } = response;
      return { status, headers: Object.fromEntries(headers), body: await response.text() };
    },
    [url, options],
  );
}

test('a WHEP player on another site shows the picture and plays the tone', () =>
  withPlayer(async (camera, viewer) => {
    const session = await play(viewer, camera);
    const figures = await eventually('frames', PICTURE_LIMIT_MS, async () => {
      const now = await viewer.videoFigures();
      return now.framesDecoded > 60 && now;
    });
    assert.equal(figures.frameWidth, 640);
    assert.deepEqual(await viewer.barColours(), BARS);
    await viewer.hears(CAMERA_TONE_HERTZ);
    await camera.connectedCalls(1);
    assert.equal(new URL(session).origin, camera.url);
    assert.match(new URL(session).pathname, /^\/whep\/[0-9a-f]{32}$/);
    await viewer.keepScreenshot('whep-player');
  }));

test("the session takes the WHEP player's candidates", () =>
  withPlayer(async (camera, viewer) => {
    const patches = [];
    viewer.page.on('response', (response) => response.request().method() === 'PATCH' && patches.push(response));
    const session = await play(viewer, camera);
    const sent = () => patches.map((response) => response.request().postData()).join('');
    await eventually('the last candidate is sent', 10000, () => sent().includes('a=end-of-candidates'));
    assert.deepEqual(new Set(patches.map((response) => response.status())), new Set([204]));
    assert.deepEqual(new Set(patches.map((response) => response.url())), new Set([session]));
    assert.match(sent(), /^a=candidate:/m);
  }));

test('the end of the WHEP player ends the call and leaves nothing', () =>
  withPlayer(async (camera, viewer) => {
    const session = await play(viewer, camera);
    await camera.connectedCalls(1);
    await viewer.page.evaluate(() => window.stop());
    await camera.idle(NOTICE_LIMIT_MS);
    assert.equal((await camera.log()).match(/session: \d+, released/g).length, 1);
    const { status, body } = await ask(viewer, session, { method: 'DELETE' });
    assert.equal(status, 404);
    assert.match(JSON.parse(body).detail, /no call/);
  }));

test('another site can read all that a WHEP player needs to know', () =>
  withPlayer(async (camera, viewer) => {
    const session = new URL(await play(viewer, camera));
    const offer = await viewer.page.evaluate(() => window.zelrtc.pc.localDescription.sdp);
    const headers = { 'Content-Type': `${SDP.toUpperCase()}; charset=utf-8` };
    const placed = await ask(viewer, `${camera.url}/whep`, { method: 'POST', headers, body: offer });
    assert.equal(placed.status, 201);
    assert.equal(placed.headers['content-type'], SDP);
    assert.equal(placed.headers['accept-patch'], FRAGMENT);
    assert.match(placed.headers.etag, /^"[^"]+"$/);
    assert.notEqual(placed.headers.location, session.pathname);
    assert.match(placed.body, /^v=0\r\n/);
    const ended = await ask(viewer, camera.url + placed.headers.location, { method: 'DELETE' });
    assert.equal(ended.status, 200);
  }));

const MISTAKES = [
  { name: 'an offer as JSON', status: 415, method: 'POST', at: 'endpoint', type: 'application/json', body: '{}' },
  { name: 'a type that only begins like SDP', status: 415, method: 'POST', at: 'endpoint', type: 'application/sdpx', body: 'v=0' },
  { name: 'an offer that is none', status: 400, method: 'POST', at: 'endpoint', type: SDP, body: 'a picture, please' },
  { name: 'an offer without video', status: 422, method: 'POST', at: 'endpoint', type: SDP, body: 'v=0\r\n' },
  { name: 'an offer that is too long', status: 413, method: 'POST', at: 'endpoint', type: SDP, body: 'v=0'.padEnd(70000) },
  { name: 'reading the endpoint', status: 405, method: 'GET', at: 'endpoint', allow: 'OPTIONS, POST' },
  { name: 'reading the session', status: 405, method: 'GET', at: 'session', allow: 'OPTIONS, PATCH, DELETE' },
  { name: 'an offer to the session', status: 405, method: 'POST', at: 'session', type: SDP, body: 'v=0', allow: 'OPTIONS, PATCH, DELETE' },
  { name: 'candidates as SDP', status: 415, method: 'PATCH', at: 'session', type: SDP, body: 'v=0' },
  { name: 'candidates of another ICE session', status: 412, method: 'PATCH', at: 'session', type: FRAGMENT, body: 'a=end-of-candidates', match: '"another"' },
  { name: 'no candidates at all', status: 400, method: 'PATCH', at: 'session', type: FRAGMENT },
  { name: 'an ICE restart', status: 501, method: 'PATCH', at: 'session', type: FRAGMENT, body: 'a=ice-ufrag:new', match: '*' },
];

test('another site can read why the camera refused something, and the call goes on', () =>
  withPlayer(async (camera, viewer) => {
    const addresses = { endpoint: `${camera.url}/whep`, session: await play(viewer, camera) };
    for (const { name, status, method, at, type, match, body, allow } of MISTAKES) {
      const headers = { ...(type && { 'Content-Type': type }), ...(match && { 'If-Match': match }) };
      const answer = await ask(viewer, addresses[at], { method, headers, body });
      assert.equal(answer.status, status, name);
      assert.equal(answer.headers['content-type'], 'application/problem+json', name);
      assert.notEqual(JSON.parse(answer.body).detail, '', name);
      assert.equal(answer.headers.allow, allow, name);
    }
    const { framesDecoded } = await viewer.videoFigures();
    await eventually('the picture goes on', PICTURE_LIMIT_MS, async () => (await viewer.videoFigures()).framesDecoded > framesDecoded);
    await camera.connectedCalls(1);
  }));
