// Waiting for what the camera or the browser brings about.
import { setTimeout as pause } from 'node:timers/promises';

const PACE_MS = 50;

/** Asks `probe` until it gives something true and returns that; fails with `what` at the limit. */
export async function eventually(what, limitMs, probe) {
  const deadline = Date.now() + limitMs;
  for (;;) {
    const found = await probe();
    if (found) return found;
    if (Date.now() >= deadline) throw new Error(`not within ${limitMs} ms: ${what}`);
    await pause(PACE_MS);
  }
}
