// What a recording holds: 16 bit, mono, with the plain header of 44 bytes.

const HEADER_BYTES = 44;

/** @returns {{seconds: number, level: number}} level is the root mean square, full scale 1 */
export function describeWav(bytes) {
  if (bytes.toString('latin1', 0, 4) !== 'RIFF' || bytes.readUInt16LE(22) !== 1 || bytes.readUInt16LE(34) !== 16) {
    throw new Error('not a 16 bit mono WAV file');
  }
  const samples = Math.floor((bytes.length - HEADER_BYTES) / 2);
  let squares = 0;
  for (let i = 0; i < samples; i++) squares += (bytes.readInt16LE(HEADER_BYTES + 2 * i) / 32768) ** 2;
  return { seconds: samples / bytes.readUInt32LE(24), level: Math.sqrt(squares / Math.max(samples, 1)) };
}
