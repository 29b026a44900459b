// WebDriver BiDi: commands to a browser over a web socket, each answered once.
import WebSocket from 'ws';

export class Bidi {
  #socket;
  #waiting = new Map();
  #newest = 0;

  static async open(url) {
    const bidi = new Bidi();
    bidi.#socket = new WebSocket(url);
    bidi.#socket.on('message', (text) => bidi.#settle(JSON.parse(text)));
    bidi.#socket.on('close', () => bidi.#waiting.forEach(({ reject }) => reject(new Error('the browser has gone'))));
    await new Promise((resolve, reject) => bidi.#socket.once('open', resolve).once('error', reject));
    return bidi;
  }

  #settle({ id, type, result, message }) {
    const command = this.#waiting.get(id);
    if (!command) return;
    this.#waiting.delete(id);
    if (type === 'success') command.resolve(result);
    else command.reject(new Error(`${command.method}: ${message}`));
  }

  /** Sends a command; gives its result, or fails with the browser's words. */
  send(method, params) {
    const id = ++this.#newest;
    return new Promise((resolve, reject) => {
      this.#waiting.set(id, { method, resolve, reject });
      this.#socket.send(JSON.stringify({ id, method, params }));
    });
  }
}
