// What a page receives as sound, by recording it: unlike Web Audio this needs no sound card in Firefox.

const RECORDING_MS = 1000;

/**
 * Records the received sound of `window.zelrtc.pc`.
 * @returns {{hertz: number, amplitude: number}} its strongest part between 100 and 2000 Hz
 */
export function recordedTone(page) {
  return page.evaluate(async (recordingMs) => {
    const record = async (track) => {
      const recorder = new MediaRecorder(new MediaStream([track]));
      const pieces = [];
      recorder.addEventListener('dataavailable', (event) => pieces.push(event.data));
      const stopped = new Promise((resolve) => recorder.addEventListener('stop', resolve));
      recorder.start();
      setTimeout(() => recorder.stop(), recordingMs);
      await stopped;
      const sound = await new Blob(pieces).arrayBuffer();
      return new OfflineAudioContext(1, 1, 48000).decodeAudioData(sound);
    };
    const amplitudeAt = (hertz, samples, rate) => {
      let real = 0;
      let imaginary = 0;
      samples.forEach((sample, i) => {
        const angle = (2 * Math.PI * hertz * i) / rate;
        real += sample * Math.cos(angle);
        imaginary += sample * Math.sin(angle);
      });
      return (2 * Math.hypot(real, imaginary)) / samples.length;
    };
    const { track } = window.zelrtc.pc.getReceivers().find((receiver) => receiver.track.kind === 'audio');
    const sound = await record(track);
    let strongest = { hertz: 0, amplitude: 0 };
    for (let hertz = 100; hertz <= 2000; hertz += 10) {
      const amplitude = amplitudeAt(hertz, sound.getChannelData(0), sound.sampleRate);
      if (amplitude > strongest.amplitude) strongest = { hertz, amplitude };
    }
    return strongest;
  }, RECORDING_MS);
}
