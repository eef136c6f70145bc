// The bar at the top and the lists at the side: the agent, its tables, its subnodes.

import {byId, element, setAttribute, setText, showList} from './dom.js';
import * as format from './format.js';

const makeEntry = () =>
  element('li', {}, element('a', {href: '#'}, element('span', {class: 'dot'}),
    element('span', {class: 'name'}), element('span', {class: 'note'})));

function fillEntry(entry, {address, current, state, name, note, title}) {
  const link = entry.firstElementChild;
  const [dot, label, remark] = link.children;
  setAttribute(link, 'href', address);
  setAttribute(link, 'aria-current', current ? 'true' : null);
  setAttribute(link, 'title', title);
  setAttribute(dot, 'data-state', state);
  setText(label, name);
  setText(remark, note);
}

function showEntries(list, entries, none) {
  if (entries.length === 0) {
    list.replaceChildren(element('li', {class: 'none'}, none));
    return;
  }
  if (list.querySelector('.none')) list.replaceChildren();
  showList(list, entries, makeEntry, fillEntry);
}

export function showAgent(agent) {
  setText(byId('product'), agent.product.name || 'Zel');
  setText(byId('agent-name'), agent.name);
  showAgentState(agent.state);
  const facts = [
    ['Version', agent.product.version],
    ['Up for', format.duration(agent.uptime_ms)],
    ['Memory', format.bytes(agent.process.resident_bytes)],
    ['Process', String(agent.process.pid)],
  ];
  const make = () => element('div', {}, element('dt'), element('dd'));
  showList(byId('facts'), facts, make, (fact, [name, value]) => {
    setText(fact.children[0], name);
    setText(fact.children[1], value);
  });
}

export function showAgentState(state) {
  setText(byId('agent-state'), state === 'away' ? 'not answering' : state);
  setAttribute(byId('agent-state'), 'data-state', state);
}

/** `addressOf(change)` gives the address of the view with a change to it. */
export function showTables(tables, view, addressOf) {
  setText(byId('tables-count'), tables.length === 0 ? '' : String(tables.length));
  const entries = tables.map((table) => ({
    address: addressOf({table: table.name, where: ''}),
    current: table.name === view.table,
    state: table.state === 'ready' && table.sampling.stuck > 0 ? 'failed' : table.state,
    name: table.name,
    note: table.sampling.stuck > 0 ? 'stuck' : table.state === 'ready' ? '' : table.state,
    title: table.refusal || `${table.name}: ${format.counted(table.columns_count, 'column')}`,
  }));
  showEntries(byId('tables'), entries, 'No tables yet.');
}

export function showSubnodes(subnodes, view, addressOf) {
  setText(byId('subnodes-count'), subnodes.length === 0 ? '' : String(subnodes.length));
  const entries = subnodes.map((subnode) => ({
    // Selecting the chosen one again shows all.
    address: addressOf({subnode: subnode.name === view.subnode ? '' : subnode.name}),
    current: subnode.name === view.subnode,
    state: subnode.state,
    name: subnode.name,
    note: `${subnode.state === 'online' ? '' : 'offline '}${format.since(subnode.since)}`,
    title: `${subnode.name}: ${subnode.state} since ${new Date(subnode.since).toLocaleString()}`,
  }));
  showEntries(byId('subnodes'), entries, 'No subnodes yet.');
}
