// How long tests wait for a camera, which depends on the SDK under it: see sdk_limits.h.
import { readFileSync } from 'node:fs';

const LIMITS = JSON.parse(readFileSync(new URL('sdk_limits.json', import.meta.url)));
const { ZELRTC_SDK_UNDER_TEST: sdk, ZELRTC_CAMERA_UNDER_TEST: otherCamera } = process.env;

/** The camera that ZELRTC_CAMERA_UNDER_TEST names, else the build's own. */
export const CAMERA = otherCamera ?? process.env.ZELRTC_CAMERA;

/** SDK 1.16 has no local description until it is connected, so it cannot give an answer with all candidates. */
export const HAS_COMPLETE_ANSWER = sdk !== '1.16';

export function limitMs(name) {
  const { seconds } = LIMITS[name];
  if (sdk) return seconds[sdk] * 1000;
  return (otherCamera ? Math.max(...Object.values(seconds)) : seconds['stand-in']) * 1000;
}
