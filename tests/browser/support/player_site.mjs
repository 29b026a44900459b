// A web site with a WHEP player that is not ours; its origin is another one than the camera's.
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { fileURLToPath } from 'node:url';

const FILES = {
  '/': { type: 'text/html', url: new URL('../pages/player.html', import.meta.url) },
  '/whep.js': { type: 'text/javascript', url: new URL(import.meta.resolve('whip-whep/whep.js')) },
};

async function serve(request, response) {
  const file = FILES[request.url];
  response.writeHead(file ? 200 : 404, file && { 'Content-Type': file.type });
  response.end(file && (await readFile(fileURLToPath(file.url))));
}

/** Runs `test(url)` while the site is there. */
export async function withPlayerSite(test) {
  const server = createServer(serve);
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  try {
    await test(`http://127.0.0.1:${server.address().port}/`);
  } finally {
    server.closeAllConnections();
    await new Promise((resolve) => server.close(resolve));
  }
}
