// A fresh Firefox with a fake microphone, on loopback only, steered with WebDriver BiDi.
import { spawn } from 'node:child_process';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { Bidi } from './bidi.mjs';
import { FirefoxPage } from './firefox_page.mjs';
import { eventually } from './waiting.mjs';

const START_LIMIT_MS = 60000;
const EXIT_LIMIT_MS = 20000;

// Whatever is not on loopback goes to a proxy that is not there.
const NOWHERE = { host: '127.0.0.1', port: 9 };

const PREFERENCES = {
  'media.autoplay.default': 0,
  'media.gmp-manager.updateEnabled': false,
  'media.navigator.permission.disabled': true,
  'media.navigator.streams.fake': true,
  'media.peerconnection.ice.loopback': true,
  'media.peerconnection.ice.obfuscate_host_addresses': false,
  'network.proxy.http': NOWHERE.host,
  'network.proxy.http_port': NOWHERE.port,
  'network.proxy.ssl': NOWHERE.host,
  'network.proxy.ssl_port': NOWHERE.port,
  'network.proxy.type': 1,
};

/**
 * Firefox offers H.264 when it has its OpenH264 plugin, which it fetches from the network, or when the platform is
 * known to have H.264. The latter is said here; what decodes it is the system's libavcodec.
 */
export const PLATFORM_H264 = {
  'gfx.blacklist.webrtc.hw.acceleration.h264': 1,
  'media.webrtc.hw.h264.enabled': true,
};

export class Firefox {
  #process;
  #folder;
  #bidi;

  /** Starts a browser with `preferences` on top of those for tests. */
  static async start(preferences) {
    const firefox = new Firefox();
    firefox.#folder = await mkdtemp(join(tmpdir(), 'zelrtc-firefox-'));
    const lines = Object.entries({ ...PREFERENCES, ...preferences }).map(
      ([name, value]) => `user_pref(${JSON.stringify(name)}, ${JSON.stringify(value)});\n`,
    );
    await writeFile(join(firefox.#folder, 'user.js'), lines.join(''));
    await firefox.#spawn();
    return firefox;
  }

  async #spawn() {
    const flags = ['--headless', '--no-remote', '--profile', this.#folder, '--remote-debugging-port', '0', 'about:blank'];
    this.#process = spawn(process.env.ZELRTC_FIREFOX ?? '/usr/bin/firefox-esr', flags, {
      stdio: ['ignore', 'ignore', 'pipe'],
      env: { ...process.env, HOME: this.#folder },
    });
    let output = '';
    this.#process.stderr.on('data', (chunk) => (output += chunk));
    const line = await eventually('Firefox can be steered', START_LIMIT_MS, () => {
      if (this.#process.exitCode !== null) throw new Error(`Firefox exited with ${this.#process.exitCode}: ${output}`);
      return /WebDriver BiDi listening on (ws:\S+)/.exec(output);
    });
    this.#bidi = await Bidi.open(`${line[1]}/session`);
    await this.#bidi.send('session.new', { capabilities: {} });
  }

  async newPage() {
    const { context } = await this.#bidi.send('browsingContext.create', { type: 'tab' });
    return new FirefoxPage(this.#bidi, context);
  }

  /** Ends the browser and removes its data. */
  async close() {
    await this.#bidi?.send('browser.close', {});
    try {
      await eventually('Firefox exits', EXIT_LIMIT_MS, () => this.#process.exitCode !== null);
    } finally {
      this.#process.kill('SIGKILL');
    }
    await rm(this.#folder, { recursive: true, force: true, maxRetries: 5 });
  }
}
