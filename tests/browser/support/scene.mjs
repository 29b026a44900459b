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

/** Runs `test(camera, context)` with Chromium. */
export function withCameraAndBrowser(test, ...cameraFlags) {
  const withBrowser = async (camera) => {
    const browser = await openBrowser();
    try {
      await test(camera, browser.context);
    } finally {
      await browser.close();
    }
  };
  return withCamera(withBrowser, ...cameraFlags);
}
