// Shows the live rows of one table. The view (table, subnode, filter) is in the address, so that
// it can be bookmarked and shared: #table=NAME&subnode=NAME&where=CONDITION

import {ApiError, read, rowsAddress} from './api.js';
import {byId, element, setAttribute, setText, showList} from './dom.js';
import * as format from './format.js';
import {Grid} from './grid.js';
import {listen} from './live.js';
import {showAgent, showAgentState, showSubnodes, showTables} from './side.js';

const kPeriod = 2000;
const kLimit = 500;

const grid = new Grid(byId('grid'));
let tables = [];
let subnodes = [];
let view = {table: '', subnode: '', where: ''};
let paused = false;
let lastAnswer = null;  // {at, state}: when rows came, and how good they were
let polling = null;     // the AbortController of the running loop

function readView() {
  const given = new URLSearchParams(location.hash.slice(1));
  return {
    table: given.get('table') || (tables.find((each) => each.state === 'ready') || {}).name || '',
    subnode: given.get('subnode') || '',
    where: given.get('where') || '',
  };
}

function addressOf(change) {
  const next = {...view, ...change};
  const given = new URLSearchParams();
  for (const [key, value] of Object.entries(next)) {
    if (value) given.set(key, value);
  }
  return `#${given}`;
}

/** Takes the view from the address; a new one starts with an empty grid. */
function openView() {
  const next = readView();
  if (next.table !== view.table) grid.clear();
  view = next;
  lastAnswer = null;
  byId('where').value = view.where;
  setText(byId('title'), view.table || 'Tables');
  document.title = view.table ? `${view.table} · Zel` : 'Zel';
  setText(byId('summary'), '');
  byId('samples').replaceChildren();
  byId('empty').hidden = true;
  showError(null);
  showSide();
  startPolling();
}

function showSide() {
  showTables(tables, view, addressOf);
  showSubnodes(subnodes, view, addressOf);
  const names = subnodes.map((each) => each.name);
  if (view.subnode && !names.includes(view.subnode)) names.push(view.subnode);
  const select = byId('subnode');
  if (document.activeElement !== select) {  // an open list must not change under the mouse
    showList(select, ['', ...names], () => element('option'), (option, name) => {
      option.value = name;
      setText(option, name || 'all');
    });
    select.value = view.subnode;
  }
  const table = tables.find((each) => each.name === view.table);
  select.disabled = Boolean(table) && !table.per_subnode;
  setAttribute(select, 'title', select.disabled ? 'This table belongs to the agent itself.' : null);
}

function showError(error) {
  const box = byId('alert');
  const problem = error === null ? {} : error.problem || {detail: String(error)};
  setAttribute(byId('where'), 'aria-invalid', problem.parameter === 'where' ? 'true' : null);
  byId('box').classList.toggle('away', error !== null);
  byId('box').hidden = error !== null && grid.result === null;
  if (error === null) {
    box.hidden = true;
    return;
  }
  const hint = problem.nearest ? ` Did you mean ${problem.nearest}?` : '';
  const children = [element('span', {}, (problem.detail || String(error)) + hint)];
  if (problem.position !== undefined) {
    // The position counts bytes of UTF-8.
    const before = new TextDecoder().decode(
      new TextEncoder().encode(view.where).slice(0, problem.position));
    children.push(element('pre', {}, `${view.where}\n${' '.repeat([...before].length)}^`));
  }
  // A screen reader reads the box again whenever it changes: so only a new text goes in.
  const text = children.map((child) => child.textContent).join('');
  if (box.textContent !== text) box.replaceChildren(...children);
  box.hidden = false;
}

function showRows(result) {
  grid.show(result);
  showList(byId('samples'), result.samples, makeSample, fillSample);
  const failed = result.samples.filter((sample) => sample.state === 'failed').length;
  const stale = result.samples.filter((sample) => sample.state === 'stale').length;
  lastAnswer = {
    at: performance.now(),
    state: failed > 0 ? 'failed' : stale > 0 ? 'stale' : 'live',
    words: [
      failed > 0 ? `${failed} of ${result.samples.length} without rows` : '',
      stale > 0 ? `${stale} of ${result.samples.length} stale` : '',
    ].filter(Boolean).join(', ') || 'live',
  };
  byId('empty').hidden = result.rows.length > 0;
  setText(byId('empty'), view.where ? 'No row passes the filter.'
    : failed > 0 ? 'No rows: see the reason above.' : 'The table has no rows at the moment.');
  setText(byId('summary'), result.truncated
    ? `The first ${format.number(result.returned)} of ${format.counted(result.matched, 'row')}; ` +
      'a filter shows others.'
    : format.counted(result.matched, 'row'));
  showHelp(result.columns);
}

const makeSample = () => element('li', {}, element('span', {class: 'dot'}), element('span'),
  element('span', {class: 'age'}));

function fillSample(item, sample) {
  const [dot, name, age] = item.children;
  setAttribute(item, 'data-state', sample.state);
  setAttribute(dot, 'data-state', sample.state);
  setText(name, sample.subnode || 'the agent');
  const lost = sample.rows_lost > 0 ? `${format.counted(sample.rows_lost, 'row')} lost` : '';
  const old = sample.age_ms === null ? '' :
    `${sample.stale ? 'stale, ' : ''}${format.ago(sample.age_ms)}`;
  setText(age, [old, sample.error, lost].filter(Boolean).join(' · '));
  setAttribute(item, 'title', sample.taken_at && `Taken ${new Date(sample.taken_at).toLocaleString()} ` +
    `in ${sample.duration_ms} ms`);
}

function showHelp(columns) {
  const some = columns.find((each) => each.type.startsWith('int'));
  const texts = columns.filter((each) => !each.type.startsWith('int'));
  const text = texts.find((each) => each.name !== 'ORIGINNODE') || texts[0];
  const examples = [some && `${some.name} > 1000`, text && `${text.name} = 'text'`].filter(Boolean);
  setAttribute(byId('where'), 'placeholder', examples[0] || '');
  const help = byId('where-help');
  const code = examples.join(' and ');
  if (help.dataset.code === code) return;
  help.dataset.code = code;
  help.replaceChildren('For example ', element('code', {}, code), '. Press / to write a filter.');
}

function showLive() {
  const away = byId('box').classList.contains('away');
  const state = paused ? 'paused' : away ? 'failed' : lastAnswer ? lastAnswer.state : 'waiting';
  const words = paused ? 'paused' : away ? 'no new rows'
    : lastAnswer ? lastAnswer.words : 'waiting for the first rows';
  const updated = lastAnswer ?
    ` · updated ${format.ago(performance.now() - lastAnswer.at)}` : '';
  setAttribute(byId('live'), 'data-state', state);
  setText(byId('live-text'), words + updated);
}

/** Asks for the rows again and again until another loop starts. */
async function startPolling() {
  if (polling) polling.abort();
  const mine = polling = new AbortController();
  setAttribute(byId('json'), 'href', view.table ? rowsAddress(view, kLimit) : '/api/v1/tables');
  let wrong = false;
  while (!mine.signal.aborted) {
    if (view.table && !paused && !document.hidden) {
      try {
        const result = await read(rowsAddress(view, kLimit), mine.signal);
        showError(null);
        showRows(result);
      } catch (error) {
        if (mine.signal.aborted) return;
        showError(error);
        wrong = Boolean(error.problem) && error.problem.status === 400;
      }
      showLive();
      if (wrong) return;  // the same question would get the same answer
    }
    await new Promise((resolve) => setTimeout(resolve, kPeriod));
  }
}

/** Keeps the bar and the side up to date. */
async function watchAgent() {
  for (;;) {
    if (!document.hidden) {
      try {
        const [agent, tableList, subnodeList] = await Promise.all(
          ['agent', 'tables', 'subnodes'].map((each) => read(`/api/v1/${each}`)));
        tables = tableList.tables;
        subnodes = subnodeList.subnodes;
        showAgent(agent);
        if (view.table) showSide(); else openView();
      } catch (error) {
        showAgentState('away');
        if (!(error instanceof ApiError)) throw error;
      }
    }
    await new Promise((resolve) => setTimeout(resolve, kPeriod));
  }
}

function go(change) {
  location.hash = addressOf(change);
}

byId('query').addEventListener('submit', (event) => {
  event.preventDefault();
  go({where: byId('where').value.trim()});
});
byId('subnode').addEventListener('change', (event) => go({subnode: event.target.value}));
byId('clear').addEventListener('click', () => go({subnode: '', where: ''}));
byId('skip').addEventListener('click', () => byId('box').focus());
byId('pause').addEventListener('click', (event) => {
  paused = !paused;
  setAttribute(event.target, 'aria-pressed', String(paused));
  setText(event.target, paused ? 'Resume' : 'Pause');
  showLive();
  if (!paused) startPolling();
});
document.addEventListener('keydown', (event) => {
  const writing = ['INPUT', 'SELECT', 'TEXTAREA'].includes(document.activeElement.tagName);
  if (event.key === '/' && !writing && !event.ctrlKey && !event.metaKey && !event.altKey) {
    event.preventDefault();
    byId('where').focus();
  }
});
document.addEventListener('visibilitychange', () => {
  if (!document.hidden && view.table) startPolling();
});
window.addEventListener('hashchange', openView);
setInterval(showLive, 500);
if (location.hash.length > 1) openView();
listen(async () => {
  try {
    subnodes = (await read('/api/v1/subnodes')).subnodes;
    showSide();
  } catch (error) {
    if (!(error instanceof ApiError)) throw error;  // watchAgent() shows that it is away
  }
});
watchAgent();
