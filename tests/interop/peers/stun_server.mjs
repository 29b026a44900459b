// A STUN server on the loopback interface, for stacks that ask one whatever they are told (RFC 8489, binding only).
import { createSocket } from 'node:dgram';
import { once } from 'node:events';

const COOKIE = 0x2112a442;
const BINDING_SUCCESS = 0x0101;
const XOR_MAPPED_ADDRESS = 0x0020;
const IPV4 = 1;

function response(request, from) {
  const reply = Buffer.alloc(32);
  reply.writeUInt16BE(BINDING_SUCCESS, 0);
  reply.writeUInt16BE(12, 2);
  request.copy(reply, 4, 4, 20);
  reply.writeUInt16BE(XOR_MAPPED_ADDRESS, 20);
  reply.writeUInt16BE(8, 22);
  reply.writeUInt16BE(IPV4, 24);
  reply.writeUInt16BE(from.port ^ (COOKIE >>> 16), 26);
  const address = Buffer.from(from.address.split('.').map(Number)).readUInt32BE(0);
  reply.writeUInt32BE((address ^ COOKIE) >>> 0, 28);
  return reply;
}

/** @returns {Promise<string>} the server's URL */
export async function startStunServer() {
  const socket = createSocket('udp4');
  socket.on('message', (request, from) => socket.send(response(request, from), from.port, from.address));
  socket.bind(0, '127.0.0.1');
  await once(socket, 'listening');
  return `stun:127.0.0.1:${socket.address().port}`;
}
