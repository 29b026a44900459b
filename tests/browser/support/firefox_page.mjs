// A tab of Firefox, with those operations of playwright's pages that ViewerPage and the tests use.
import { writeFile } from 'node:fs/promises';
import { eventually } from './waiting.mjs';

export class FirefoxPage {
  #bidi;
  #context;

  constructor(bidi, context) {
    this.#bidi = bidi;
    this.#context = context;
  }

  goto(url) {
    return this.#bidi.send('browsingContext.navigate', { context: this.#context, url, wait: 'complete' });
  }

  /** Runs a function in the page; its argument and its result travel as JSON. */
  async evaluate(run, argument = null) {
    const { type, result, exceptionDetails } = await this.#bidi.send('script.evaluate', {
      expression: `(async () => JSON.stringify((await (${run})(${JSON.stringify(argument)})) ?? null))()`,
      target: { context: this.#context },
      awaitPromise: true,
      userActivation: true,
    });
    if (type === 'exception') throw new Error(exceptionDetails.text);
    return JSON.parse(result.value);
  }

  async waitForFunction(probe, argument, { timeout }) {
    const value = await eventually(String(probe), timeout, () => this.evaluate(probe, argument));
    return { jsonValue: () => value };
  }

  async click(selector) {
    await this.waitForFunction(
      `(wanted) => {
        const control = document.querySelector(wanted);
        if (control.disabled) return false;
        control.click();
        return true;
      }`,
      selector,
      { timeout: 10000 },
    );
  }

  textContent(selector) {
    return this.evaluate((wanted) => document.querySelector(wanted).textContent, selector);
  }

  async screenshot({ path }) {
    const { data } = await this.#bidi.send('browsingContext.captureScreenshot', { context: this.#context });
    await writeFile(path, data, 'base64');
  }

  close() {
    return this.#bidi.send('browsingContext.close', { context: this.#context });
  }
}
