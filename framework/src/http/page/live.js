// The list of recent events, fed by the stream as they arrive.

import {byId, element, setAttribute, setText, showList} from './dom.js';

const kKept = 50;

const events = [];  // newest first: {time, table, node, text}
let source = null;
let position = '';  // of the last message, to continue after it

function summary(values) {
  return Object.entries(values)
    .filter(([name, value]) => name !== 'ORIGINNODE' && value !== null && value !== '')
    .map(([name, value]) => `${name} ${value}`).join(' · ');
}

function keep(entry) {
  events.unshift(entry);
  events.length = Math.min(events.length, kKept);
}

const make = () => element('li', {}, element('time'), element('strong'), element('span'));

function fill(item, {time, table, node, text}) {
  const [when, what, words] = item.children;
  const moment = new Date(time);
  setAttribute(when, 'datetime', time);
  setText(when, moment.toLocaleTimeString());
  setText(what, [table, node].filter(Boolean).join(' · '));
  setText(words, text);
}

function show() {
  byId('no-events').hidden = events.length > 0;
  showList(byId('events'), events, make, fill);
}

function setState(state, words) {
  setAttribute(byId('events-live'), 'data-state', state);
  setText(byId('events-state'), words);
}

/** Starts listening; `onSubnode` is called when a subnode comes, goes or changes. */
export function listen(onSubnode) {
  if (source) source.close();
  const after = position && `&after=${encodeURIComponent(position)}`;
  source = new EventSource(`/api/v1/stream?kind=event&kind=subnode${after}`);
  source.addEventListener('open', () => setState('live', 'live'));
  source.addEventListener('error', () => {
    // The browser reconnects by itself unless the agent refused it, as when all streams are in use.
    const refused = source.readyState === EventSource.CLOSED;
    setState('failed', refused ? 'no stream available' : 'reconnecting');
    if (refused) setTimeout(() => listen(onSubnode), 10000);
  });
  const hear = (kind, handle) => source.addEventListener(kind, (message) => {
    position = message.lastEventId || position;
    handle(message);
  });
  hear('event', (message) => {
    const batch = JSON.parse(message.data);
    for (const event of batch.events.slice(-kKept)) {
      keep({time: event.time, table: batch.table, node: event.values.ORIGINNODE,
        text: summary(event.values)});
    }
    show();
  });
  hear('missed', (message) => {
    const {missed, reset} = JSON.parse(message.data);
    keep({time: new Date().toISOString(), table: '', node: '',
      text: reset ? 'The agent was restarted.' : `${missed} entries were missed.`});
    show();
  });
  hear('subnode', onSubnode);
}
