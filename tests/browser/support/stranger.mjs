// Everything that a page of a site which the camera was not told of can try on it.

const JSON_TYPE = 'application/json';
const SDP = 'application/sdp';

/** Runs in the page: an offer that the camera would take. */
async function makeOffer() {
  const pc = new RTCPeerConnection();
  for (const kind of ['video', 'audio']) pc.addTransceiver(kind, { direction: 'recvonly' });
  await pc.setLocalDescription(await pc.createOffer());
  const { type, sdp } = pc.localDescription;
  pc.close();
  return { type, sdp };
}

/** Runs in the page: what a script there can read of the camera's response, or nothing. */
async function readResponse({ url, wish }) {
  try {
    const response = await fetch(url, wish);
    return response.type === 'opaque' ? '' : `${response.status} ${await response.text()}`;
  } catch {
    return '';
  }
}

/** Runs in the page: whether an element shows or runs what is at the address. */
async function loadElement({ url, name }) {
  const element = document.createElement(name);
  const outcome = new Promise((resolve) => {
    element.addEventListener('load', () => resolve(true));
    element.addEventListener('error', () => resolve(false));
  });
  element.src = url;
  document.body.append(element);
  return outcome;
}

/** Runs in the page: the first event of a stream, or nothing. */
async function readEvents(url) {
  const source = new EventSource(url);
  const outcome = await new Promise((resolve) => {
    source.addEventListener('answer', (event) => resolve(event.data));
    source.addEventListener('error', () => resolve(''));
  });
  source.close();
  return outcome;
}

/** Runs in the page: posts a form whose body reads as the offer, and goes where that leads. */
function postForm({ url, body }) {
  const form = Object.assign(document.createElement('form'), { action: url, method: 'post', enctype: 'text/plain' });
  const [name, value] = body.split('=', 1).concat(body.slice(body.indexOf('=') + 1));
  form.append(Object.assign(document.createElement('input'), { type: 'hidden', name, value }));
  document.body.append(form);
  form.submit();
}

export class Stranger {
  constructor(page, cameraUrl) {
    this.page = page;
    this.url = cameraUrl;
    this.statuses = new Set();
  }

  /** The stranger's page in a tab. From here on it notes the status of every response, also of those kept from it. */
  static async on(page, cameraUrl) {
    const stranger = new Stranger(page, cameraUrl);
    const network = await page.context().newCDPSession(page);
    network.on('Network.responseReceivedExtraInfo', ({ statusCode }) => stranger.statuses.add(statusCode));
    await network.send('Network.enable');
    return stranger;
  }

  /**
   * Sends each request that a script may send, with permission asked and without.
   * @param path of somebody's call
   * @param token the camera's
   * @returns what the script could read of all responses
   */
  async readsByRequests(path = '', token = '') {
    const key = token ? { Authorization: `Bearer ${token}` } : {};
    const offer = await this.page.evaluate(makeOffer);
    const wishes = [
      { path: '/', wish: {} },
      { path: '/health', wish: {} },
      { path: '/calls', wish: {} },
      { path: '/calls', wish: { method: 'POST', headers: { 'Content-Type': JSON_TYPE }, body: JSON.stringify(offer) } },
      { path: '/whep', wish: { method: 'POST', headers: { 'Content-Type': SDP }, body: offer.sdp } },
      ...(path ? [{ path, wish: { method: 'DELETE' } }, { path: `${path}/events`, wish: {} }] : []),
    ];
    const unasked = wishes
      .filter(({ wish }) => wish.method !== 'DELETE')
      .map(({ path: at, wish }) => ({ path: at, wish: { ...wish, headers: {}, mode: 'no-cors' } }));
    const asked = wishes.map(({ path: at, wish }) => ({ path: at, wish: { ...wish, headers: { ...wish.headers, ...key } } }));
    const texts = [];
    for (const { path: at, wish } of [...asked, ...unasked]) {
      texts.push(await this.page.evaluate(readResponse, { url: this.url + at, wish }));
    }
    return texts.join('');
  }

  readsEvents(path) {
    return this.page.evaluate(readEvents, `${this.url}${path}/events`);
  }

  sees(name, path) {
    return this.page.evaluate(loadElement, { url: this.url + path, name });
  }

  /** Whether the camera's page is in a frame of this one. */
  async framesTheCamera() {
    await this.sees('iframe', '/');
    const inside = this.page.frames().find((frame) => frame !== this.page.mainFrame());
    return (await inside.locator('#call').count()) > 0;
  }

  async postsForm(path) {
    const offer = await this.page.evaluate(makeOffer);
    const body = path === '/whep' ? offer.sdp : JSON.stringify(offer);
    const answered = this.page.waitForResponse((response) => response.request().method() === 'POST');
    await this.page.evaluate(postForm, { url: this.url + path, body });
    return (await answered).status();
  }
}
