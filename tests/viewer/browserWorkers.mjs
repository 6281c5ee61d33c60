// What the viewer's loader asks of a browser beyond what Node has: `self`, and workers made from source text.

import { Worker as Thread } from 'node:worker_threads';

const DATA_URL = 'data:application/javascript,';
const INSIDE = `
  const { parentPort } = require('node:worker_threads');
  globalThis.self = globalThis;
  globalThis.postMessage = (message, transfer) => parentPort.postMessage(message, transfer);
  parentPort.on('message', (data) => onmessage({ data }));
`;

class BrowserWorker {
  constructor(url) {
    if (!url.startsWith(DATA_URL)) throw new Error(`a worker from ${url.slice(0, 40)}`);
    // Workers are plain scripts, not modules: they assign to undeclared names.
    this.thread = new Thread(INSIDE + decodeURIComponent(url.slice(DATA_URL.length)), { eval: true });
    this.thread.on('message', (data) => this.onmessage({ data }));
    this.thread.on('error', (error) => {
      throw error;  // ends the process: a node would never finish loading
    });
  }
  postMessage(message, transfer) {
    this.thread.postMessage(message, transfer);
  }
}

export function installBrowserWorkers() {
  globalThis.self = globalThis;
  globalThis.Worker = BrowserWorker;
  // The loader turns to data: addresses, from which the text can be had, where there are no blob: ones.
  URL.createObjectURL = () => {
    throw new Error('no blob addresses');
  };
}
