// One call of a camera and many viewers behind it: the programs that scripts/run-chain starts.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { text } from 'node:stream/consumers';
import { fileURLToPath } from 'node:url';
import { CAMERA } from '../../support/sdk_limits.mjs';
import { eventually } from './waiting.mjs';

const START_LIMIT_MS = 60000;
const VIEWER = process.env.ZELRTC_VIEWER;
const CHAIN = fileURLToPath(new URL('../../../apps/chain/run_chain.py', import.meta.url));

/** Runs `test(url)` while the chain serves what it gets from the camera; it must end cleanly after it. */
export async function withChain(cameraUrl, test) {
  const programs = ['--camera-program', CAMERA, '--viewer-program', VIEWER];
  const chain = spawn(CHAIN, ['--camera', cameraUrl, '--listen', '127.0.0.1:0', ...programs], {
    stdio: ['ignore', 'pipe', 'inherit'],
  });
  const ended = once(chain, 'exit');
  let output = '';
  chain.stdout.on('data', (chunk) => (output += chunk));
  try {
    const line = await eventually('the chain serves', START_LIMIT_MS, () => {
      if (chain.exitCode !== null) throw new Error(`the chain exited with ${chain.exitCode}`);
      return /listening on (http:\/\/[^/]+)\/\n/.exec(output);
    });
    await test(line[1]);
  } finally {
    chain.kill('SIGINT');
    await ended;
  }
  if (chain.exitCode !== 0) throw new Error(`the chain exited with ${chain.exitCode}`);
}

/** Headless viewers in a process of their own, from the beginning on. */
export class HeadlessViewers {
  #process;
  #report;

  constructor(url, ...flags) {
    const patience = ['--connect-timeout', '60', '--jitter-buffer', '200'];
    this.#process = spawn(VIEWER, [url, '--json', '--no-talk', ...patience, ...flags], {
      stdio: ['ignore', 'pipe', 'inherit'],
    });
    this.#report = text(this.#process.stdout);
  }

  /** What each call brought; waits until all have ended. */
  async calls() {
    return JSON.parse(await this.#report).calls;
  }

  hangUp() {
    this.#process.kill('SIGINT');
    return this.calls();
  }
}
