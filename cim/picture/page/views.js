// How each thing is drawn. A view is {node, update(thing)}; the elements that stand for a thing carry its path.
import {ask, element, keep, makeButton, makeFold, setAttribute, setShown, setText} from './dom.js';
import {linkTo} from './panel.js';
import {counted, kinds, lookOf, markOf, nameOf, newsOf, placesOf, sentence, statusOf, toneOf} from './words.js';

const pathOf = (thing) => thing.path;

const hidden = (node) => {
    node.setAttribute('aria-hidden', 'true');
    return node;
};

// Elements of these classes, whose texts are shown in that order. A mark is for the eye alone.
function partsOf(classNames) {
    const nodes = classNames.map((name) => (name === 'mark' ? hidden(element('span', name)) : element('span', name)));
    return {nodes, show: (texts) => nodes.forEach((node, index) => setText(node, texts[index] ?? ''))};
}

// The element stands for the thing: it is coloured as its state, pointing at it is pointing at the thing, and it steps
// back when the thing is not searched for.
function standFor(node, thing) {
    const look = lookOf(thing);
    node.classList.toggle('dimmed', thing.out === true);
    setAttribute(node, 'data-path', thing.path);
    setAttribute(node, 'data-tone', look.tone);
    return look;
}

// What is not searched for is left out, on the screen.
const setOut = (node, isOut) => node.classList.toggle('out', isOut === true);

// A button that stands for a thing. What is in it is for the eye; its label says the same, and more, to the ear.
function thingButton(className, ...children) {
    const label = element('span', 'unseen');
    const node = makeButton(`thing ${className}`, ...children.map(hidden), label);
    return {node, say: (text) => setText(label, text)};
}

function volumesText(volumes) {
    const names = volumes.map((volume) => volume.facts.name || volume.facts.device);
    return names.length > 0 ? `in ${names.length === 1 ? 'volume' : 'volumes'} ${names.join(', ')}` : '';
}

const wordOf = ({facts}) => facts.state || facts.verdict || 'unknown';

function labelOfDisk({facts, volumes}) {
    const place = facts.slot === undefined ? `Disk ${facts.device}` : `Slot ${facts.slot}`;
    return sentence([place, statusOf(facts), facts.size, volumesText(volumes)]);
}

function labelOfVolume(volume) {
    const {facts} = volume;
    return sentence([nameOf(volume), facts.level, facts.size, statusOf(facts), membersText(volume)]);
}

function membersText({members, facts}) {
    if (members.length === 0) return '';
    const more = facts.membersCut ? ' and more, which its caption has no room for' : '';
    return `${counted(members.length, 'disk', 'disks')}: ${placesOf(members)}${more}`;
}

// What the tip says of a thing, line by line; nothing of what says it all by itself.
export function tipOf({kind, facts, volumes}) {
    const health = facts.health === undefined ? '' : `Health: ${facts.health}`;
    const lines = {
        disk: () => [sentence([facts.size, facts.firmware && `firmware ${facts.firmware}`]),
            facts.enclosure === undefined ? '' : `Device ${facts.device}`, volumesText(volumes)],
        port: () => [sentence([facts.name, facts.type, facts.usage])],
        battery: () => [facts.charge],
    };
    if (!(kind in lines)) return [];
    return [nameOf({kind, facts}), statusOf(facts), health, ...lines[kind]()].filter((line) => line);
}

function bayView() {
    const parts = partsOf(['slot', 'letter', 'word', 'size']);
    const button = thingButton('bay', ...parts.nodes);
    return {
        node: element('li', '', button.node),
        update({slot, disk}) {
            button.node.classList.toggle('empty', disk === null);
            button.node.classList.remove('dimmed');
            if (disk === null) {
                parts.show([slot, '', 'empty']);
                for (const name of ['data-path', 'data-tone', 'aria-pressed']) setAttribute(button.node, name, null);
                button.say(`Slot ${slot}, empty`);
            } else {
                parts.show([slot, standFor(button.node, disk).letter, wordOf(disk), disk.facts.size]);
                button.say(labelOfDisk(disk));
            }
        },
    };
}

// How many bays a row has: as servers have them, up to 24 in one row, else rows of equal length where that is possible.
const rowOf = (count) => (count <= 24 ? count : [12, 15, 14, 10, 16].find((row) => count % row === 0) ?? 12);

// The style sheet folds rows that do not fit in halves and quarters.
function layOut(bays, count) {
    const row = rowOf(count);
    setAttribute(bays, 'data-span', [6, 8, 12, 16, 24].find((span) => row <= span));
    bays.style.setProperty('--row', row);
    bays.style.setProperty('--half', Math.ceil(row / 2));
    bays.style.setProperty('--quarter', Math.ceil(row / 4));
}

function enclosureView() {
    const name = element('h3', '');
    const count = element('p', 'aside');
    const bays = element('ul', 'bays walk');
    const node = element('section', 'enclosure', element('div', 'heading', name, count),
        element('div', 'chassis', bays));
    return {
        node,
        update(enclosure) {
            setOut(node, enclosure.bays.every(({disk}) => disk === null || disk.out));
            setText(name, `Enclosure ${enclosure.id}`);
            const empty = enclosure.bays.filter((bay) => bay.disk === null).length;
            setText(count, counted(enclosure.count, 'disk', 'disks') + (empty > 0 ? `, ${empty} empty` : ''));
            setAttribute(bays, 'aria-label', `Enclosure ${enclosure.id} of controller ${enclosure.controller}`);
            layOut(bays, enclosure.bays.length);
            keep(bays, enclosure.bays, (bay) => bay.slot, bayView);
        },
    };
}

// A listed button for a thing, with parts of such classes and texts, and a label.
const buttonView = (className, classNames, textsOf, labelOf) => () => {
    const parts = partsOf(classNames);
    const button = thingButton(className, ...parts.nodes);
    const node = element('li', '', button.node);
    return {
        node,
        update(thing) {
            setOut(node, thing.out);
            parts.show(textsOf(thing, standFor(button.node, thing).letter));
            button.say(labelOf(thing));
        },
    };
};

const looseView = buttonView('loose', ['letter', 'name', 'word', 'size'],
    (disk, letter) => [letter, disk.facts.device, wordOf(disk), disk.facts.size], labelOfDisk);

const volumeView = buttonView('volume', ['mark', 'name', 'state', 'facts', 'facts', 'facts state'], (volume, mark) => {
    const {device, name, state, level, size} = volume.facts;
    return [mark, name ? `${device} ${name}` : device, state, sentence([level, size]), membersText(volume),
        newsOf(volume.facts)];
}, labelOfVolume);

// Ports and batteries. What there is no room for is read out, and in the tip.
const deviceView = buttonView('device', ['mark', 'name', 'facts', 'state'], ({facts}, mark) => (
    [mark, facts.name || facts.device, sentence([facts.type, facts.charge]), statusOf(facts)]
), (device) => sentence([nameOf(device), ...['name', 'type', 'charge'].map((fact) => device.facts[fact]),
    statusOf(device.facts), device.facts.usage]));

// A headed list, hidden while it is empty.
function listView(title, className, makeView) {
    const list = element('ul', className);
    const node = element('section', 'group', element('h3', '', title), list);
    return {
        node,
        update(things, controller) {
            setShown(node, things.length > 0);
            setOut(node, things.every((thing) => thing.out));
            setAttribute(list, 'aria-label', `${title} of controller ${controller}`);
            keep(list, things, pathOf, makeView);
        },
    };
}

// "60 disks, 2 volumes", or of how many those are that are searched for.
function holdingsOf({things}, searching) {
    const shown = things.filter((thing) => !thing.out).length;
    if (searching) return `${shown} of ${things.length} shown`;
    const countOf = (kind) => things.filter((thing) => thing.kind === kind).length;
    return sentence([...kinds].filter(([kind]) => kind !== 'controller' && countOf(kind) > 0)
        .map(([kind, several]) => counted(countOf(kind), kind, several)));
}

function countView() {
    const node = element('li', 'count');
    return {
        node,
        update({verdict, count, tone}) {
            setText(node, `${count} ${verdict}`);
            setAttribute(node, 'data-tone', tone);
        },
    };
}

export function controllerView({id, thing: own}) {
    const node = element('section', 'controller');
    const fold = makeFold(node, `Controller ${id}`, (open) => ask(node, 'fold', {id, open}));
    const parts = partsOf(['state', 'aside', 'aside holdings']);
    const [state, facts, holdings] = parts.nodes;
    const counts = element('ul', 'counts');
    const details = linkTo(own, 'Details', element('span', 'unseen', ` of controller ${id}`));
    const heading = element('div', 'heading thing', element('h2', '', fold.button), state, facts, holdings, counts,
        details);
    const enclosures = element('div', 'enclosures');
    const loose = listView('Disks without an enclosure', 'loose-disks walk', looseView);
    const side = [
        ['volumes', listView('Volumes', 'volumes walk', volumeView)],
        ['ports', listView('Ports', 'ports walk', deviceView)],
        ['batteries', listView('Batteries', 'batteries walk', deviceView)],
    ];
    node.append(heading, element('div', 'machine folds', element('div', 'front', enclosures, loose.node),
        element('div', 'side', ...side.map(([, view]) => view.node))));
    return {
        node,
        update(controller) {
            const {thing} = controller;
            setOut(node, controller.things.every(({out}) => out));
            fold.open(controller.open);
            const {model, package: bundle, firmware, verdict} = thing.facts;
            parts.show([verdict === 'OK' ? '' : statusOf(thing.facts),
                sentence([model, bundle && `package ${bundle}`, firmware && `firmware ${firmware}`]),
                holdingsOf(controller, controller.searching)]);
            keep(counts, controller.counts, (count) => count.verdict, countView);
            standFor(heading, thing);
            keep(enclosures, controller.enclosures, (enclosure) => enclosure.id, enclosureView);
            loose.update(controller.loose, controller.id);
            for (const [list, view] of side) view.update(controller[list], controller.id);
        },
    };
}

// What needs a look, worst first. The link leads to the thing; what is gone can be acknowledged.
// Those beyond the most that are shown at first are folded.
export function findingView({thing: found}) {
    const parts = partsOf(['mark', 'verdict', 'name', 'state']);
    const link = linkTo(found, ...parts.nodes);
    const node = element('li', 'finding', link);
    if (found.since !== undefined) {
        const button = makeButton('small', 'Acknowledge', element('span', 'unseen', ` that ${nameOf(found)} is gone`));
        button.addEventListener('click', () => ask(button, 'acknowledge', {thing: found, acknowledged: true}));
        node.append(button);
    }
    return {
        node,
        update({thing, beyond}) {
            const {facts, since} = thing;
            node.classList.toggle('beyond', beyond);
            node.classList.toggle('dimmed', thing.out);
            setAttribute(node, 'data-tone', toneOf(facts.verdict));
            parts.show([markOf(thing), facts.verdict, nameOf(thing),
                since === undefined ? statusOf(facts) : facts.reason]);
        },
    };
}
