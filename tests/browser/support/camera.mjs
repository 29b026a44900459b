// The demo camera under test.
import { spawn } from 'node:child_process';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import http from 'node:http';
import https from 'node:https';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { text } from 'node:stream/consumers';
import { CAMERA, limitMs } from '../../support/sdk_limits.mjs';
import { eventually } from './waiting.mjs';

const START_LIMIT_MS = 20000;
const EXIT_LIMIT_MS = limitMs('exit') + 10000;

/** One request; a camera that made its certificate itself has nobody who vouches for it. */
function exchange(url, method, headers) {
  const { request } = url.startsWith('https:') ? https : http;
  return new Promise((resolve, reject) => {
    const sent = request(url, { method, headers, rejectUnauthorized: false }, async (response) => {
      resolve({ status: response.statusCode, body: await text(response) });
    });
    sent.on('error', reject);
    sent.end();
  });
}

export class Camera {
  #process;
  #folder;

  /** Starts a camera on a free port, of the loopback address if `flags` name no other; they go to it. */
  static async start(...flags) {
    const camera = new Camera();
    camera.#folder = await mkdtemp(join(tmpdir(), 'zelrtc-browser-'));
    await camera.#spawn(flags);
    return camera;
  }

  async #spawn(flags) {
    const files = ['--record-dir', this.#folder, '--log-file', join(this.#folder, 'camera.log')];
    const address = flags.includes('--listen') ? [] : ['--listen', '127.0.0.1:0'];
    this.#process = spawn(CAMERA, [...address, ...files, ...flags], {
      stdio: ['ignore', 'pipe', 'inherit'],
    });
    let output = '';
    this.#process.stdout.on('data', (chunk) => (output += chunk));
    const line = await eventually('the camera serves', START_LIMIT_MS, () => {
      if (this.#process.exitCode !== null) throw new Error(`the camera exited with ${this.#process.exitCode}`);
      return /listening on (https?:\/\/[^/]+)\/(?:\?token=(.*))?\n/.exec(output);
    });
    this.url = line[1];
    this.token = line[2] ?? '';
  }

  #ask(method, path) {
    return exchange(this.url + path, method, this.token ? { Authorization: `Bearer ${this.token}` } : {});
  }

  async get(path) {
    const { status, body } = await this.#ask('GET', path);
    if (status !== 200) throw new Error(`GET ${path}: ${status}`);
    return JSON.parse(body);
  }

  async hangUp(callPath) {
    return (await this.#ask('DELETE', callPath)).status;
  }

  /** Waits until exactly `count` calls are up and connected, and returns them. */
  connectedCalls(count) {
    return eventually(`${count} connected calls`, limitMs('connect'), async () => {
      const calls = await this.get('/calls');
      return calls.length === count && calls.every((call) => call.state === 'connected') && calls;
    });
  }

  /** Waits until the camera has no call and encodes nothing. */
  idle(longestMs) {
    return eventually('the camera has no call left', longestMs, async () => {
      const health = await this.get('/health');
      return health.calls === 0 && health.encoders === 0;
    });
  }

  log() {
    return readFile(join(this.#folder, 'camera.log'), 'utf8');
  }

  recording(callId) {
    return readFile(join(this.#folder, `call-${callId}.wav`));
  }

  /** Ends the camera as a user would; fails when it does not exit cleanly. */
  async stop() {
    this.#process.kill('SIGINT');
    try {
      await eventually('the camera exits', EXIT_LIMIT_MS, () => this.#process.exitCode !== null);
    } finally {
      this.#process.kill('SIGKILL');
    }
    await rm(this.#folder, { recursive: true, force: true });
    if (this.#process.exitCode !== 0) throw new Error(`the camera exited with ${this.#process.exitCode}`);
  }
}
