// How each thing is drawn. A view is {node, update(thing)}; the elements that stand for a thing carry its path.
import {element, keep, setAttribute, setShown, setText} from './dom.js';
import {counted, lookOf, nameOf, placesOf} from './words.js';

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

export function makeButton(className, ...children) {
    const button = element('button', className, ...children);
    button.type = 'button';
    return button;
}

// The element stands for the thing: it is coloured as its state, and pointing at it is pointing at the thing.
function standFor(node, thing) {
    const look = lookOf(thing);
    setAttribute(node, 'data-path', thing.path);
    setAttribute(node, 'data-tone', look.tone);
    return look;
}

// A button that stands for a thing. What is in it is for the eye; its label says the same, and more, to the ear.
function thingButton(className, ...children) {
    const label = element('span', 'unseen');
    const node = makeButton(`thing ${className}`, ...children.map(hidden), label);
    return {node, say: (text) => setText(label, text)};
}

const sentence = (parts) => parts.filter((part) => part).join(', ');

function volumesText(volumes) {
    const names = volumes.map((volume) => volume.facts.name || volume.facts.device);
    return names.length > 0 ? `in ${names.length === 1 ? 'volume' : 'volumes'} ${names.join(', ')}` : '';
}

// State, and health where that is news: "DEGRADED, Warning", but "FAILED".
function stateText({state, health}) {
    const news = health !== 'OK' && health?.toUpperCase() !== state;
    return sentence([state, news && health]);
}

const wordOf = ({facts}) => facts.state || facts.health || 'unknown';

function labelOfDisk({facts, volumes}) {
    const place = facts.slot === undefined ? `Disk ${facts.device}` : `Slot ${facts.slot}`;
    return sentence([place, stateText(facts), facts.size, volumesText(volumes)]);
}

function labelOfVolume(volume) {
    const {facts} = volume;
    return sentence([nameOf(volume), facts.level, facts.size, stateText(facts), membersText(volume)]);
}

function membersText({members, facts, lack}) {
    if (members.length === 0) return lack;
    const more = facts.membersCut ? ' and more, which its caption has no room for' : '';
    return `${counted(members.length, 'disk', 'disks')}: ${placesOf(members)}${more}`;
}

// What the tip says of a thing, line by line; nothing of what says it all by itself.
export function detailsOf({kind, facts, volumes}) {
    const health = facts.health === undefined ? '' : `Health: ${facts.health}`;
    const lines = {
        disk: () => [facts.state, health, sentence([facts.size, facts.firmware && `firmware ${facts.firmware}`]),
            facts.enclosure === undefined ? '' : `Device ${facts.device}`, volumesText(volumes)],
        port: () => [facts.state, health, sentence([facts.name, facts.type, facts.usage])],
        battery: () => [facts.state, health, facts.charge],
    };
    return kind in lines ? [nameOf({kind, facts}), ...lines[kind]()].filter((line) => line) : [];
}

function bayView() {
    const parts = partsOf(['slot', 'letter', 'word', 'size']);
    const button = thingButton('bay', ...parts.nodes);
    return {
        node: element('li', '', button.node),
        update({slot, disk}) {
            button.node.classList.toggle('empty', disk === null);
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
    const name = element('h4', '');
    const count = element('p', 'aside');
    const bays = element('ul', 'bays walk');
    return {
        node: element('section', 'enclosure', element('div', 'heading', name, count), element('div', 'chassis', bays)),
        update(enclosure) {
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
    return {
        node: element('li', '', button.node),
        update(thing) {
            parts.show(textsOf(thing, standFor(button.node, thing).letter));
            button.say(labelOf(thing));
        },
    };
};

const looseView = buttonView('loose', ['letter', 'name', 'word', 'size'],
    (disk, letter) => [letter, disk.facts.device, wordOf(disk), disk.facts.size], labelOfDisk);

const volumeView = buttonView('volume', ['mark', 'name', 'state', 'facts', 'facts'], (volume, mark) => {
    const {device, name, state, level, size} = volume.facts;
    return [mark, name ? `${device} ${name}` : device, state, sentence([level, size]), membersText(volume)];
}, labelOfVolume);

// Ports and batteries: nothing to light, so they are texts. What there is no room for is read out, and in the tip.
function deviceView() {
    const parts = partsOf(['mark', 'name', 'facts', 'state', 'unseen']);
    const node = element('li', 'thing device', ...parts.nodes);
    return {
        node,
        update(device) {
            const {name, device: id, type, charge, state, health, usage} = device.facts;
            parts.show([standFor(node, device).letter, name || id, sentence([type, charge]), state,
                sentence([health, usage])]);
        },
    };
}

// A headed list, hidden while it is empty.
function listView(title, className, makeView) {
    const list = element('ul', className);
    const node = element('section', 'group', element('h4', '', title), list);
    return {
        node,
        update(things, controller) {
            setShown(node, things.length > 0);
            setAttribute(list, 'aria-label', `${title} of controller ${controller}`);
            keep(list, things, pathOf, makeView);
        },
    };
}

export function controllerView() {
    const name = element('h3', '');
    const facts = element('p', 'aside');
    const state = element('p', 'state');
    const heading = element('div', 'heading thing', name, facts, state);
    const enclosures = element('div', 'enclosures');
    const loose = listView('Disks without an enclosure', 'loose-disks walk', looseView);
    const side = [
        ['volumes', listView('Volumes', 'volumes walk', volumeView)],
        ['ports', listView('Ports', 'ports', deviceView)],
        ['batteries', listView('Batteries', 'batteries', deviceView)],
    ];
    const node = element('section', 'controller', heading,
        element('div', 'machine', element('div', 'front', enclosures, loose.node),
            element('div', 'side', ...side.map(([, view]) => view.node))));
    return {
        node,
        update(controller) {
            const {thing} = controller;
            setText(name, `Controller ${controller.id}`);
            setText(facts, sentence([thing.facts.model, thing.facts.package && `package ${thing.facts.package}`,
                thing.facts.firmware && `firmware ${thing.facts.firmware}`]));
            setText(state, sentence([thing.facts.state, thing.lack]));
            standFor(heading, thing);
            keep(enclosures, controller.enclosures, (enclosure) => enclosure.id, enclosureView);
            loose.update(controller.loose, controller.id);
            for (const [list, view] of side) view.update(controller[list], controller.id);
        },
    };
}

// What needs a look, worst first. The button leads to the thing.
// Those beyond the most that are shown at first are for paper, where all are.
export function findingView() {
    const parts = partsOf(['mark', 'name', 'state']);
    const button = makeButton('finding', ...parts.nodes);
    const node = element('li', '', button);
    return {
        node,
        update({thing, beyond}) {
            node.classList.toggle('beyond', beyond);
            const {letter, tone} = lookOf(thing);
            parts.show([letter, nameOf(thing), sentence([thing.facts.state, thing.facts.charge, thing.lack])]);
            setAttribute(button, 'data-tone', tone);
            setAttribute(button, 'data-leads-to', thing.path);
        },
    };
}
