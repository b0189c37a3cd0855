// The page: draws what the server answers, and says so when it does not.
import {Changes} from './changes.js';
import {element, keep, setAttribute, setShown, setText} from './dom.js';
import {Light} from './light.js';
import {Live} from './live.js';
import {KnownSlots, modelOf} from './model.js';
import {controllerView, findingView} from './views.js';
import {goTo, restoreStops, walkIn} from './walk.js';
import {agoOf, clockOf, diskStates} from './words.js';

const kMostFindings = 12;

const at = (id) => document.getElementById(id);
const root = document.querySelector('main');
const knownSlots = new KnownSlots();
const light = new Light(root, at('tip'));
const changes = new Changes(at('changes'), at('news'));

function countView() {
    const node = element('li', '');
    return {
        node,
        update({count, what, tone}) {
            setText(node, `${count} ${what}`);
            setAttribute(node, 'data-tone', tone);
        },
    };
}

function drawLegend() {
    const items = [...diskStates].map(([state, look]) => {
        const letter = element('span', 'letter', look.letter);
        letter.dataset.tone = look.tone;
        return element('li', '', letter, ` ${state.toLowerCase()}`);
    });
    at('legend').append(...items);
}

function draw(inventory) {
    const model = modelOf(inventory, knownSlots);
    const findings = model.findings.map((thing, index) => ({thing, beyond: index >= kMostFindings}));
    const troubles = findings.length + (model.noController ? 1 : 0);
    document.title = [`${troubles > 0 ? `(${troubles}) ` : ''}${model.host || 'Quarnel'}`, model.host && 'Quarnel',
        model.source].filter((part) => part).join(' – ');
    setText(at('host'), model.host);
    setShown(at('source'), model.source !== '');
    setText(at('source'), `This is ${model.source}, not this machine’s`);
    keep(at('counts'), model.counts, ({what}) => what, countView);
    setShown(at('attention'), troubles > 0);
    setShown(at('no-controller'), model.noController);
    keep(at('findings'), findings, ({thing}) => thing.path, findingView);
    setText(at('more-findings'), findings.length > kMostFindings ? `and ${findings.length - kMostFindings} more` : '');
    keep(at('controllers'), model.controllers, (controller) => controller.id, controllerView);
    changes.update(model);
    restoreStops(root);
    light.update(model);
}

let serverClock = null; // ms from performance.now() to the server's local time

// When the server read what is shown, as its times are written.
const readTime = () => new Date(serverClock + performance.now() - live.age * 1000).toISOString().slice(0, 19);

let silentSince = null; // the page's clock when the server first failed to answer

const live = new Live({
    inventory(inventory) {
        serverClock = Date.parse(`${inventory.time}Z`) + live.age * 1000 - performance.now();
        draw(inventory);
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

root.addEventListener('click', (event) => {
    const path = event.target.closest('[data-leads-to]')?.dataset.leadsTo;
    if (path !== undefined) goTo(root, path);
});
walkIn(root);
drawLegend();
setInterval(drawAge, 1000);
live.ask();
