// The settings page. All texts of the router go into the page as text, never as HTML.
'use strict';

const $ = id => document.getElementById(id);
const type = 'text/x-settings';
const seconds = () => performance.now() / 1000;

let properties = {}; // of the schema, by key
let stored = {};     // the router's values; secrets are asterisks
let wanted = {};     // what the user has changed
let plan = null;     // the router's answer to it
let trial = null;    // {token, end, keys, moved}; the token is '' if another page made the change
let away = false;
const fields = {};   // by key: {box, findings, inputs}

function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes))
    if (key in made) made[key] = value;
    else made.setAttribute(key, value);
  made.append(...children);
  return made;
}

function say(text) { $('status').textContent = text; }

// Runs one of the router's requests. Calls line() for each object as it arrives, since the connection may end with the
// router's old address. Resolves to {status, messages}; status is null if the answer broke off.
async function request(word, body, line = () => {}) {
  const options = body === undefined ? {} : { method: 'POST', headers: { 'Content-Type': type }, body };
  const answer = { status: null, messages: [] };
  const take = text => {
    if (text.startsWith('{')) {
      const object = JSON.parse(text);
      if ('message' in object) answer.messages.push(object.message);
      else line(object);
    } else if (/^status \d+$/.test(text)) answer.status = Number(text.slice(7));
    else if (text) answer.messages.push(text);
  };
  const response = await fetch('settings.cgi?' + word, { cache: 'no-store', ...options });
  const decoder = new TextDecoder();
  let text = '';
  try {
    for (const reader = response.body.getReader();;) {
      const { done, value } = await reader.read();
      text += done ? decoder.decode() : decoder.decode(value, { stream: true });
      const lines = text.split('\n');
      text = lines.pop();
      lines.forEach(take);
      if (done) break;
    }
    take(text);
  } catch (error) {
    answer.messages.push('The connection ended.');
  }
  if (!response.ok) answer.status = response.status;
  return answer;
}

// As a line of an image: control characters and backslashes are escaped.
function imageLine(key, value) {
  const escape = c => '\\x' + c.charCodeAt(0).toString(16).padStart(2, '0');
  return key + '=' + value.replace(/[\x00-\x1f\x7f\\]/g, escape) + '\n';
}

const image = () => Object.entries(wanted).map(([key, value]) => imageLine(key, value)).join('');

// ---- Records: "name:first-last" is names and the separators between them.

const shapeOf = record => record.shape.split(/([A-Za-z0-9_]+)/).slice(2, -1).filter((_, i) => i % 2 === 0);

function splitRecords(record, value) {
  const text = value.slice(record.skip || 0);
  if (text === '') return [];
  const records = record.between ? text.split(record.between) : [text];
  if (record.between && records.at(-1) === '') records.pop();
  return records.map(entry => {
    const cells = [];
    for (const separator of shapeOf(record)) {
      const end = entry.indexOf(separator);
      cells.push(end < 0 ? entry : entry.slice(0, end));
      entry = end < 0 ? '' : entry.slice(end + separator.length);
    }
    return [...cells, entry];
  });
}

function joinRecords(record, rows, old) {
  const separators = shapeOf(record);
  const entries = rows.map(row => row.map((cell, i) => cell + (separators[i] ?? '')).join(''));
  const ended = record.between && old.endsWith(record.between) && entries.length > 0;
  return old.slice(0, record.skip || 0).padEnd(record.skip || 0) + entries.join(record.between) +
    (ended ? record.between : '');
}

// ---- Controls: each calls change() with its key's new value.

function choice(words, value, name, change) {
  const all = words.includes(value) ? words : [value, ...words];
  const names = { '': 'not set' };
  if (words.every(word => ['', '0', '1'].includes(word))) Object.assign(names, { 0: 'off', 1: 'on' });
  const select = element('select', { ariaLabel: name, onchange: () => change(select.value) });
  for (const word of all) select.append(element('option', { value: word }, names[word] ?? word));
  select.value = value;
  return select;
}

function line(value, name, change, more = {}) {
  const input = element('input', { type: 'text', value, ariaLabel: name, spellcheck: false, autocomplete: 'off',
    oninput: () => change(input.value), ...more });
  return input;
}

function table(key, record, change) {
  const old = stored[key] ?? '';
  const rows = splitRecords(record, wanted[key] ?? old);
  const body = element('tbody');
  const changed = () => change(joinRecords(record, rows, old));
  const draw = () => body.replaceChildren(...rows.map((row, number) => element('tr', {},
    ...record.fields.map((field, i) => element('td', {}, field.enum
      ? choice(field.enum, row[i] ?? '', `${key} ${number + 1} ${field.name}`, value => { row[i] = value; changed(); })
      : line(row[i] ?? '', `${key} ${number + 1} ${field.name}`, value => { row[i] = value; changed(); }))),
    element('td', {}, element('button', { type: 'button', ariaLabel: `Remove row ${number + 1} of ${key}`,
      onclick: () => { rows.splice(number, 1); draw(); changed(); } }, 'Remove')))));
  const add = element('button', { type: 'button', ariaLabel: 'Add a row to ' + key, onclick: () => {
    rows.push(record.fields.map(field => field.enum ? field.enum[0] : ''));
    draw();
    changed();
    body.lastChild.querySelector('input, select').focus();
  } }, 'Add');
  draw();
  const heads = record.fields.map(field => element('th', { title: field.help }, field.name.replaceAll('_', ' ')));
  return [element('div', { className: 'list' },
    element('table', {}, element('thead', {}, element('tr', {}, ...heads)), body)), ...(record.between ? [add] : [])];
}

function control(key, property, change) {
  const value = wanted[key] ?? stored[key] ?? '';
  if (property.record) return table(key, property.record, change);
  if (property.enum) return [choice(property.enum, value, property.title, change)];
  if (property.writeOnly)
    return [line('', property.title, text => change(text === '' ? undefined : text),
      { type: 'password', autocomplete: 'new-password', placeholder: stored[key] ? 'unchanged' : 'not set' })];
  return [line(value, property.title, change, property.form === 'number' ? { inputMode: 'numeric' } : {})];
}

function field(key) {
  const property = properties[key];
  const findings = element('div', { id: 'findings-' + key });
  const inputs = control(key, property, value => {
    if (value === undefined || value === (stored[key] ?? '')) delete wanted[key];
    else wanted[key] = value;
    showChanges();
    askLater();
  });
  const box = element('div', { className: 'field' }, element('span', { className: 'label' }, property.title), ' ',
    element('code', {}, key), element('div', {}, ...inputs), findings,
    element('p', { className: 'help', id: 'help-' + key }, property.description));
  for (const input of inputs)
    if (input.setAttribute) input.setAttribute('aria-describedby', `findings-${key} help-${key}`);
  fields[key] = { box, findings, inputs };
  return box;
}

// ---- Groups and search

const groups = () => [...new Set(Object.values(properties).map(property => property.group))];

function show(keys, title) {
  for (const key of Object.keys(fields)) delete fields[key];
  document.querySelector('main').replaceChildren(element('h2', {}, title), ...keys.map(field));
  showFindings();
}

function markGroup(name) {
  for (const button of $('groups').querySelectorAll('button'))
    if (button.textContent === name) button.setAttribute('aria-current', 'true');
    else button.removeAttribute('aria-current');
}

function showGroup(name) {
  markGroup(name);
  show(Object.keys(properties).filter(key => properties[key].group === name), name);
}

function search() {
  const words = $('search').value.toLowerCase().split(' ').filter(word => word);
  if (words.length === 0) return showGroup(groups()[0]);
  const text = key => `${key} ${properties[key].title} ${properties[key].description}`.toLowerCase();
  const keys = Object.keys(properties).filter(key => words.every(word => text(key).includes(word)));
  markGroup('');
  show(keys, keys.length === 1 ? '1 setting' : `${keys.length} settings`);
}

// ---- Changes: what check says of them, and what they restart

let timer = 0;
function askLater() {
  clearTimeout(timer);
  timer = setTimeout(ask, 400);
}

async function ask() {
  const asked = image();
  let answer = null;
  if (asked !== '')
    try {
      await request('preview', asked, object => { answer = object; });
    } catch (error) {
      return say('The router does not answer.');
    }
  if (asked !== image()) return;
  plan = answer;
  showChanges();
  showFindings();
}

const findingText = finding => `${finding.level}: ${finding.problem}` + (finding.fix ? `; write ${finding.fix}` : '');

function showFindings() {
  for (const [key, { box, findings, inputs }] of Object.entries(fields)) {
    const mine = plan ? plan.findings.filter(finding => finding.key === key) : [];
    box.classList.toggle('changed', key in wanted);
    findings.replaceChildren(...mine.map(finding =>
      element('p', { className: 'finding ' + finding.level }, findingText(finding))));
    for (const input of inputs)
      if (input.matches('input, select'))
        input.setAttribute('aria-invalid', mine.some(finding => finding.level === 'error'));
  }
}

function showChanges() {
  const keys = Object.keys(wanted);
  const errors = plan ? plan.findings.filter(finding => finding.level === 'error') : [];
  $('changes').hidden = keys.length === 0 || trial !== null;
  $('changed').replaceChildren(...keys.map(key => element('li', {}, element('code', {}, key), ' ',
    properties[key].writeOnly ? 'a new one' : `${stored[key] ?? ''} → ${wanted[key]}`)));
  $('try').disabled = plan === null || errors.length > 0;
  $('plan').textContent = plan === null ? '' :
    (plan.actions.length ? `Runs: ${plan.actions.map(action => 'rc ' + action).join(', ')}.` : 'Nothing restarts.') +
    (plan.pauses ? ` The network is away for ${plan.pauses} seconds or more.` : '') +
    (plan.at_boot.length ? ` Takes effect at the next boot: ${plan.at_boot.join(' ')}.` : '');
  $('found').replaceChildren(...errors.map(finding =>
    element('li', { className: 'error' }, `${finding.key}: ${findingText(finding)}`)));
}

// ---- The change on trial

// Where the page will be when the router's own address changes, with the token, so that it can be confirmed there.
function newPlace(token) {
  const address = wanted.lan_ipaddr;
  if (!address || location.hostname !== stored.lan_ipaddr) return null;
  const port = location.port ? ':' + location.port : '';
  return `${location.protocol}//${address}${port}${location.pathname}#${token}`;
}

async function tryIt() {
  $('try').disabled = true;
  say('The change is being made …');
  let answer;
  try {
    answer = await request('try=' + $('seconds').value, image(), object => {
      if (!object.token) return;
      startTrial({ token: object.token, left: object.seconds, keys: object.changed, place: newPlace(object.token) });
    });
  } catch (error) {
    answer = { status: null, messages: ['The router does not answer.'] };
  }
  if (trial === null || answer.status !== null) say(answer.messages.join(' '));
  if (answer.status !== null && answer.status !== 0) endTrial();
}

function startTrial({ token, left, keys, place }) {
  trial = { token, keys, end: seconds() + left };
  if (token) sessionStorage.setItem('token', token);
  $('trial-link').hidden = !place;
  if (place) {
    $('trial-link').firstChild.href = place;
    $('trial-link').firstChild.textContent = `The router moves. Go on there: ${new URL(place).host}`;
  }
  $('trial').hidden = false;
  $('keep').hidden = !token;
  showChanges();
  countDown();
  $('keep').focus();
}

function countDown() {
  if (trial === null) return;
  const left = Math.max(0, Math.ceil(trial.end - seconds()));
  $('trial-text').textContent = `On trial: ${trial.keys.join(' ')}. ` +
    (left > 0 ? `Undone in ${left} seconds unless you keep it.`
      : 'The time is up; the router goes back to what it was.');
  setTimeout(countDown, 500);
}

async function endTrial() {
  trial = null;
  wanted = {};
  plan = null;
  sessionStorage.removeItem('token');
  $('trial').hidden = true;
  await load();
}

// Whether the trial still runs. While the router is away, or at another address, the next time tells.
async function watch() {
  try {
    let state = null;
    await request('trial', undefined, object => { state = object; });
    if (away) say('The router is back.');
    away = false;
    if (state && state.on_trial && trial === null)
      startTrial({ token: sessionStorage.getItem('token') ?? '', left: state.left, keys: state.changed });
    else if (state && state.on_trial) trial.end = seconds() + state.left;
    else if (state && trial !== null) {
      await endTrial();
      say(state.last === 'confirmed' ? 'Kept, and written to flash.' :
        `The router is as it was (${state.last}).`);
    }
  } catch (error) {
    if (trial !== null || away) say('The router does not answer here.');
    away = true;
  }
  setTimeout(watch, trial === null ? 10000 : 2000);
}

async function end(word) {
  try {
    const answer = await request(word, word === 'keep' ? trial.token : '');
    say(answer.messages.join(' '));
  } catch (error) {
    say('The router does not answer here.');
  }
}

// ---- Start

async function load() {
  stored = {};
  const answer = await request('show', undefined, object => { stored = object; });
  if (answer.status !== 0) say(answer.messages.join(' '));
  if (!$('groups').firstChild)
    $('groups').append(...groups().map(name =>
      element('li', {}, element('button', { type: 'button',
        onclick: () => { $('search').value = ''; showGroup(name); } }, name))));
  const current = $('groups').querySelector('[aria-current]');
  if ($('search').value) search();
  else showGroup(current ? current.textContent : groups()[0]);
  showChanges();
}

async function start() {
  if (/^#[0-9a-f]{32}$/.test(location.hash)) {
    sessionStorage.setItem('token', location.hash.slice(1));
    history.replaceState(null, '', location.pathname);
  }
  $('search').oninput = search;
  $('try').onclick = tryIt;
  $('drop').onclick = () => { wanted = {}; plan = null; load(); };
  $('keep').onclick = () => end('keep');
  $('undo').onclick = () => end('undo');
  try {
    properties = (await (await fetch('settings.schema.json')).json()).properties;
    await load();
  } catch (error) {
    say('The router does not answer: ' + error.message);
  }
  watch();
}

start();
