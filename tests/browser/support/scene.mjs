// A camera and a browser for one test, ended in order whatever the test does.
import { openBrowser } from './browser.mjs';
import { Camera } from './camera.mjs';

/** Runs `test(camera, context)`; the camera must end cleanly after it. */
export async function withCameraAndBrowser(test, ...cameraFlags) {
  const camera = await Camera.start(...cameraFlags);
  try {
    const browser = await openBrowser();
    try {
      await test(camera, browser.context);
    } finally {
      await browser.close();
    }
  } finally {
    await camera.stop();
  }
}
