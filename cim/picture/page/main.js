// The page: draws what the server answers, and says so when it does not.
import {Changes} from './changes.js';
import {element, keep, makeFold, setAttribute, setShown, setText} from './dom.js';
import {Filter} from './filter.js';
import {Light} from './light.js';
import {Live} from './live.js';
import {memory} from './memory.js';
import {modelOf} from './model.js';
import {Panel} from './panel.js';
import {controllerView, findingView} from './views.js';
import {restoreStops, walkIn} from './walk.js';
import {agoOf, clockOf} from './words.js';

const kMostFindings = 12;

const at = (id) => document.getElementById(id);
const root = document.querySelector('main');
const light = new Light(root, at('tip'));
const changes = new Changes(at('changes'), at('news'));
const filter = new Filter(at, show);
const panel = new Panel(at('panel'), close);
const moreFindings = makeFold(at('attention'), '').button;

let model = null;

function show() {
    if (model === null) return;
    filter.apply(model);
    const {host, source, controllers, noController} = model;
    const findings = model.findings.map((thing, index) => ({thing, beyond: index >= kMostFindings}));
    const troubles = findings.length + (noController ? 1 : 0);
    document.title = [`${troubles > 0 ? `(${troubles}) ` : ''}${host || 'Quarnel'}`, host && 'Quarnel', source]
        .filter((part) => part).join(' – ');
    setText(at('host'), host);
    setShown(at('source'), source !== undefined);
    setText(at('source'), `This is ${source}, not this machine’s`);
    setShown(at('attention'), troubles > 0);
    setShown(at('no-controller'), noController);
    keep(at('findings'), findings, ({thing}) => `${thing.since} ${thing.path}`, findingView);
    setShown(moreFindings, findings.length > kMostFindings);
    setText(moreFindings, `${findings.length - kMostFindings} more`);
    for (const controller of controllers) {
        controller.searching = filter.active;
        controller.open = memory.folds.isOpen(controller, controllers.length === 1, filter.active);
    }
    keep(at('controllers'), controllers, ({id}) => id, controllerView);
    changes.update(model);
    restoreStops(document.body);
    light.update(model);
    if (panel.isOpen) panel.show(model.find(location.hash));
}

// Shows the details of what the address leads to, and where that is.
function follow() {
    if (model === null) return;
    const thing = location.hash.length > 1 ? model.find(location.hash) : null;
    light.choose(thing?.path ?? null);
    if (thing === null) {
        panel.hide();
        return;
    }
    const controller = model.controllers.find(({id}) => id === thing?.facts.controller);
    if (controller?.open === false) {
        memory.folds.set(controller.id, true);
        show();
    }
    panel.show(thing);
    panel.focus();
    nodeOf(thing)?.scrollIntoView({block: 'nearest'});
}

// The element that stands for a thing.
const nodeOf = (thing) => [...root.querySelectorAll('.thing')].find(({dataset}) => dataset.path === thing?.path);

// Back where the details were asked for.
function close() {
    const thing = model.find(location.hash);
    history.pushState(null, '', location.pathname);
    follow();
    const node = nodeOf(thing);
    (node?.matches('button') ? node : node?.querySelector('button') ?? at('search')).focus({preventScroll: true});
}

let serverClock = null; // ms from performance.now() to the server's local time
let zone = '';          // what its times end with: its distance from UTC

// When the server read what is shown, as its times are written.
const readTime = () => (
    new Date(serverClock + performance.now() - live.age * 1000).toISOString().slice(0, 19) + zone);

let silentSince = null; // the page's clock when the server first failed to answer

const live = new Live({
    inventory(inventory) {
        serverClock = Date.parse(`${inventory.time.slice(0, 19)}Z`) + live.age * 1000 - performance.now();
        zone = inventory.time.slice(19);
        const {rejected} = inventory;
        setText(at('rejected'), rejected === undefined ? '' : `The hardware description cannot be read since `
            + `${clockOf(rejected.since)}: ${rejected.reason}. Shown is what it said before.`);
        setShown(at('rejected'), rejected !== undefined);
        const first = model === null;
        model = modelOf(inventory, memory);
        show();
        if (first) follow();
    },
    answered() {
        silentSince = null;
        setShown(at('notice'), false);
        setAttribute(document.body, 'data-link', 'up');
        drawAge();
    },
    failed(reason) {
        silentSince ??= new Date().toLocaleTimeString();
        const kept = live.age === null ? '' : ' Shown is what was read last.';
        setText(at('notice'), reason === null ? `The server has not answered since ${silentSince}.${kept}`
            : `The server answers, but cannot show the hardware: ${reason}.${kept}`);
        setShown(at('notice'), true);
        setAttribute(document.body, 'data-link', 'down');
        drawAge();
    },
});

function drawAge() {
    if (live.age !== null) setText(at('age'), `Read ${agoOf(live.age)} ago`);
    else if (silentSince !== null) setText(at('age'), 'Nothing read yet');
}

// Paper shows the time of the look: its age would be wrong by the time it is read.
window.addEventListener('beforeprint', () => {
    setText(at('read-at'), serverClock === null ? 'Nothing read yet' : `Read at ${clockOf(readTime())}`);
});

root.addEventListener('click', ({target}) => {
    const path = target.closest('button.thing')?.dataset.path;
    if (path === undefined) return;
    const {link} = model.byPath.get(path);
    if (location.hash === link) close();
    else location.hash = link;
});
root.addEventListener('fold', ({detail: {id, open}}) => {
    memory.folds.set(id, open);
    show();
});
root.addEventListener('acknowledge', ({detail: {thing, acknowledged}}) => {
    memory.acknowledged.set(thing, acknowledged);
    model = modelOf(model, memory);
    show();
    at('news').replaceChildren(element('p', '', acknowledged
        ? 'Acknowledged. It can be undone below, where all changes are.' : 'It needs a look again.'));
    const next = at(acknowledged ? 'findings' : 'changes').querySelector('button.small') ?? at('changes-title');
    next.focus({preventScroll: true});
});
document.addEventListener('keydown', ({key, target}) => {
    if (key !== 'Escape') return;
    light.letGo();
    if (panel.isOpen && !at('filter').contains(target)) close();
    else filter.clear();
});
window.addEventListener('hashchange', follow);
at('attention').append(moreFindings);
walkIn(document.body);
setInterval(drawAge, 1000);
live.ask();
