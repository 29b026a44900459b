// A fresh Chromium with a fake microphone, on loopback only.
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { chromium } from 'playwright-core';

const FLAGS = [
  '--headless',
  '--no-sandbox',
  '--disable-gpu',
  '--disable-quic',
  '--no-first-run',
  '--disable-background-networking',
  '--disable-component-update',
  '--disable-sync',
  '--allow-loopback-in-peer-connection',
  '--autoplay-policy=no-user-gesture-required',
  '--use-fake-ui-for-media-stream',
  '--use-fake-device-for-media-stream',
];

/** Opens a browser with more `flags`; `close` ends it and removes its data. */
export async function openBrowser(flags = []) {
  const folder = await mkdtemp(join(tmpdir(), 'zelrtc-chromium-'));
  const context = await chromium.launchPersistentContext(folder, {
    executablePath: process.env.ZELRTC_CHROMIUM ?? '/usr/bin/chromium',
    headless: true,
    args: [...FLAGS, ...flags],
    // Stands for the person who accepts the certificate that the camera has made itself.
    ignoreHTTPSErrors: true,
    viewport: { width: 1280, height: 900 },
  });
  return {
    context,
    async close() {
      await context.close();
      await rm(folder, { recursive: true, force: true });
    },
  };
}
