// A camera and a browser for one test, ended in order whatever the test does.
import { openBrowser } from './browser.mjs';
import { Camera } from './camera.mjs';

/** Runs `test(camera)`; the camera must end cleanly after it. */
export async function withCamera(test, ...cameraFlags) {
  const camera = await Camera.start(...cameraFlags);
  try {
    await test(camera);
  } finally {
    await camera.stop();
  }
}

/** Runs `test(context)` with Chromium and more `flags` for it. */
export async function withBrowser(test, ...flags) {
  const browser = await openBrowser(flags);
  try {
    await test(browser.context);
  } finally {
    await browser.close();
  }
}

/** Runs `test(camera, context)` with Chromium. */
export function withCameraAndBrowser(test, ...cameraFlags) {
  return withCamera((camera) => withBrowser((context) => test(camera, context)), ...cameraFlags);
}
