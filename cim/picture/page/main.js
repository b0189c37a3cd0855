// The page: draws what the server answers, and says so when it does not.
import {Changes} from './changes.js';
import {element, keep, setAttribute, setShown, setText} from './dom.js';
import {Light} from './light.js';
import {Live} from './live.js';
import {KnownSlots, modelOf} from './model.js';
import {controllerView, findingView} from './views.js';
import {goTo, restoreStops, walkIn} from './walk.js';
import {agoOf, diskStates, toneOfHealth} from './words.js';

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
        update([health, count]) {
            setText(node, `${count} ${health}`);
            setAttribute(node, 'data-tone', toneOfHealth(health));
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
    const troubles = model.findings.length;
    document.title = `${troubles > 0 ? `(${troubles}) ` : ''}${model.host ? `${model.host} – ` : ''}Quarnel`;
    setText(at('host'), model.host);
    keep(at('counts'), model.counts, ([health]) => health, countView);
    setShown(at('attention'), troubles > 0);
    keep(at('findings'), model.findings.slice(0, kMostFindings), (thing) => thing.path, findingView);
    setText(at('more-findings'), troubles > kMostFindings ? `and ${troubles - kMostFindings} more` : '');
    keep(at('controllers'), model.controllers, (controller) => controller.id, controllerView);
    changes.update(model);
    restoreStops(root);
    light.update(model);
}

let silentSince = null; // the page's clock when the server first failed to answer

const live = new Live({
    inventory: draw,
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

root.addEventListener('click', (event) => {
    const path = event.target.closest('[data-leads-to]')?.dataset.leadsTo;
    if (path !== undefined) goTo(root, path);
});
walkIn(root);
drawLegend();
setInterval(drawAge, 1000);
live.ask();
