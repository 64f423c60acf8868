// Drives a Debug Adapter Protocol adapter over its standard streams through one whole session,
// checking every answer: launch, a source-line breakpoint, the stop, threads, stack, locals, an
// expression, a step, a second hit, the breakpoint removed, the exit, disconnect; afterwards no
// process under the adapter may be left (any left is ended by pid). Exits 0, or 1 and the step.
// Usage: node drive.js ADAPTER_JS DEBUGGER PROGRAM host|card ADAPTER_LOG [NAME=VALUE...], the
// pairs being the debugger's "environment" launch setting.
'use strict';
const cp = require('child_process');
const fs = require('fs');
const path = require('path');

const [adapterJs, debuggerPath, program, scenarioName, logFile, ...envPairs] =
    process.argv.slice(2);
// Where each program stops, what its frame holds on the first and second hit, where a step goes.
const scenarios = {
  host: {file: 'sample.c', line: 29, func: 'main', locals: ['total', 'round'],
         expr: 'round + 2', values: ['2', '3'], stepLine: 30},
  card: {file: 'offload_card.c', line: 12, func: 'card_work', locals: ['total', 'i'],
         expr: 'i * i', values: ['1', '4'], stepLine: 11},
};
const sc = scenarios[scenarioName];
const source = path.resolve(__dirname, '../../../examples', sc.file);
const kWaitMs = 30000;
let stepName = 'start';

const adapter = cp.spawn(process.execPath, [adapterJs], {stdio: ['pipe', 'pipe', 'pipe']});
let stderrText = '';
adapter.stderr.on('data', (d) => (stderrText += d));

// Every (pid, start time) seen under the adapter, so that cleanup never hits a reused pid.
const seen = new Map();
// May race with the process's end: a process gone reads as empty.
function readProc(pid, file) {
  try { return fs.readFileSync(`/proc/${pid}/${file}`, 'utf8'); } catch { return ''; }
}
function procStat(pid) {
  const s = readProc(pid, 'stat');
  const f = s.slice(s.lastIndexOf(')') + 2).split(' ');
  return s ? {ppid: +f[1], start: f[19], zombie: f[0] === 'Z'} : null;
}
function watchTree() {
  const children = new Map();
  for (const name of fs.readdirSync('/proc')) {
    const st = /^\d+$/.test(name) && procStat(name);
    if (st) children.set(st.ppid, [...(children.get(st.ppid) || []), +name]);
  }
  for (let todo = [adapter.pid]; todo.length;) {
    const pid = todo.pop();
    const st = procStat(pid);
    if (st && !seen.has(pid)) seen.set(pid, st.start);
    todo.push(...(children.get(pid) || []));
  }
}
const alive = () => [...seen.keys()].filter((pid) => {
  const st = procStat(pid);
  return st && st.start === seen.get(pid) && !st.zombie;
});
const sleep = (ms) => new Promise((res) => setTimeout(res, ms));
const treeTimer = setInterval(watchTree, 200);

// DAP framing: "Content-Length: N\r\n\r\n" and N bytes of JSON.
let seq = 1;
let inBuf = Buffer.alloc(0);
const pending = new Map();
const events = [];
let eventWaiters = [];
// An adapter that dies fails the request in flight at once, not at its deadline.
adapter.on('exit', (code, signal) => {
  for (const answer of pending.values())
    answer({success: false, message: `the adapter ended (${signal || code})`});
});
adapter.stdout.on('data', (chunk) => {
  inBuf = Buffer.concat([inBuf, chunk]);
  for (;;) {
    const head = inBuf.indexOf('\r\n\r\n');
    if (head < 0) return;
    const len = +/Content-Length: (\d+)/.exec(inBuf.slice(0, head).toString())[1];
    if (inBuf.length < head + 4 + len) return;
    const msg = JSON.parse(inBuf.slice(head + 4, head + 4 + len).toString());
    inBuf = inBuf.slice(head + 4 + len);
    if (msg.type === 'response' && pending.has(msg.request_seq)) {
      pending.get(msg.request_seq)(msg);
      pending.delete(msg.request_seq);
    }
    if (msg.type === 'event') {
      events.push(msg);
      eventWaiters = eventWaiters.filter((w) => !w());
    }
  }
});

function check(ok, what, got) {
  if (!ok) throw new Error(`${what}; got ${JSON.stringify(got)}`);
}
// Fails with "no WHAT" after `ms`.
function deadline(promise, what, ms = kWaitMs) {
  let timer;
  const late = new Promise((_, reject) =>
    (timer = setTimeout(() => reject(new Error(`no ${what} within ${ms / 1000} s`)), ms)));
  return Promise.race([promise, late]).finally(() => clearTimeout(timer));
}
async function request(command, args = {}) {
  const s = seq++;
  const answer = new Promise((resolve) => pending.set(s, resolve));
  const body = JSON.stringify({seq: s, type: 'request', command, arguments: args});
  adapter.stdin.write(`Content-Length: ${Buffer.byteLength(body)}\r\n\r\n${body}`);
  const r = await deadline(answer, `answer to "${command}"`);
  check(r.success, `"${command}" failed`, r.message);
  return r.body || {};
}
// The first event of this name not taken yet.
function nextEvent(name) {
  return deadline(new Promise((resolve) => {
    const take = () => {
      const i = events.findIndex((e) => e.event === name);
      if (i >= 0) resolve(events.splice(i, 1)[0].body || {});
      return i >= 0;
    };
    if (!take()) eventWaiters.push(take);
  }), `"${name}" event`);
}

async function expectValue(frameId, value) {
  const r = await request('evaluate', {expression: sc.expr, frameId, context: 'watch'});
  check(r.result === value, `"${sc.expr}" should be ${value}`, r);
}
// The next stop, for this reason, with the program's function at `line` on top of its thread.
async function stopAt(reason, line) {
  const {reason: why, threadId} = await nextEvent('stopped');
  check(why === reason, `the stop should be a ${reason}`, why);
  const {stackFrames: frames} = await request('stackTrace', {threadId, startFrame: 0, levels: 20});
  const top = frames && frames[0];
  check(top && top.name.includes(sc.func) && top.line === line && top.source &&
        path.basename(top.source.path || '') === sc.file,
        `the top frame should be ${sc.func} at ${sc.file}:${line}`, frames);
  return {threadId, top};
}

async function session() {
  const environment = Object.fromEntries(envPairs.map((p) => p.split(/=(.*)/s).slice(0, 2)));
  stepName = 'initialize';
  await request('initialize', {clientID: 'wem-test', adapterID: 'cdt-gdb', linesStartAt1: true,
                               columnsStartAt1: true, pathFormat: 'path'});
  stepName = 'launch';
  const initialized = nextEvent('initialized');
  await request('launch', {gdb: debuggerPath, program, environment, verbose: true, logFile});
  await initialized;
  watchTree();
  stepName = `breakpoint at ${sc.file}:${sc.line}`;
  let r = await request('setBreakpoints', {source: {path: source}, breakpoints: [{line: sc.line}]});
  check(r.breakpoints && r.breakpoints.length === 1 && r.breakpoints[0].verified &&
        r.breakpoints[0].line === sc.line, 'one verified breakpoint on that line', r);
  stepName = 'run to the breakpoint';
  await request('configurationDone');
  let {threadId, top} = await stopAt('breakpoint', sc.line);
  stepName = 'threads';
  r = await request('threads');
  check(r.threads && r.threads.some((t) => t.id === threadId), `thread ${threadId} listed`, r);
  stepName = 'locals';
  const {scopes} = await request('scopes', {frameId: top.id});
  const local = (scopes || []).find((s) => s.name === 'Local');
  check(local, 'a "Local" scope', scopes);
  r = await request('variables', {variablesReference: local.variablesReference});
  const names = (r.variables || []).map((v) => v.name);
  check(sc.locals.every((n) => names.includes(n)), `locals ${sc.locals}`, r.variables);
  stepName = 'expression';
  await expectValue(top.id, sc.values[0]);
  stepName = 'step';
  await request('next', {threadId});
  await stopAt('step', sc.stepLine);
  stepName = 'continue to the second hit';
  await request('continue', {threadId});
  ({threadId, top} = await stopAt('breakpoint', sc.line));
  await expectValue(top.id, sc.values[1]);
  stepName = 'remove the breakpoint';
  r = await request('setBreakpoints', {source: {path: source}, breakpoints: []});
  check(r.breakpoints && r.breakpoints.length === 0, 'no breakpoints left', r);
  stepName = 'continue to the exit';
  await request('continue', {threadId});
  await nextEvent('terminated');
  stepName = 'disconnect';
  await request('disconnect', {});
  adapter.stdin.end();
  stepName = 'every process ends';
  for (let t = 0; t < 50 && alive().length; t++) await sleep(200);
  check(!alive().length, 'the adapter, the debugger and its engines end within 10 s',
        alive().map((pid) => `${pid} ${readProc(pid, 'comm').trim()}`));
}

// Ends what is left, by pid (one gone meanwhile is skipped): SIGTERM, then SIGKILL after 3 s.
async function cleanup() {
  clearInterval(treeTimer);
  for (const sig of ['SIGTERM', 'SIGKILL']) {
    for (const pid of alive()) try { process.kill(pid, sig); } catch {}
    for (let t = 0; t < 30 && alive().length; t++) await sleep(100);
  }
}

// The whole session is bounded too: a run that answers slowly at every step still ends.
deadline(session(), 'end of the session', 100000).then(
  async () => {
    await cleanup();
    console.log(`dap ${scenarioName}: every step passed (${debuggerPath})`);
    process.exit(0);
  },
  async (err) => {
    watchTree();
    await cleanup();
    console.log(`dap ${scenarioName}: FAILED at "${stepName}": ${err.message}`);
    if (stderrText) console.log(`adapter stderr:\n${stderrText}`);
    const log = fs.existsSync(logFile) ? fs.readFileSync(logFile, 'utf8').trimEnd() : '';
    console.log(`last lines of ${logFile}:\n${log.split('\n').slice(-40).join('\n')}`);
    process.exit(1);
  });
