// The words for what is shown: letters and tones of states, what a thing is called, how long ago something was.
// Tones are the style sheet's: good, spare, free, warn, bad, odd. They follow the verdict, which the server gives.

// A disk's letter, and the tone of what is fine without being in use. In the order in which the chips have them.
const diskStates = new Map([
    ['ONLINE', {letter: 'O'}],
    ['HOT SPARE', {letter: 'S', fine: 'spare'}],
    ['UNCONFIGURED GOOD', {letter: 'U', fine: 'free'}],
    ['REBUILD', {letter: 'R'}],
    ['UNCONFIGURED BAD', {letter: 'B'}],
    ['OFFLINE', {letter: 'X'}],
    ['FAILED', {letter: 'F'}],
    ['UNDEFINED', {letter: '?'}],
]);
export const letterOf = (state) => diskStates.get(state)?.letter;

// The worst first.
const tones = new Map([['CRITICAL', 'bad'], ['WARNING', 'warn'], ['UNKNOWN', 'odd'], ['OK', 'good']]);
export const verdicts = [...tones.keys()];
export const toneOf = (verdict) => tones.get(verdict) ?? 'odd';

// What orders a group's chips.
export const states = [...diskStates.keys()];

// A mark tells the verdict without colour.
const marks = {good: '●', warn: '▲', bad: '✖', odd: '?'};
export const markOf = ({facts}) => marks[toneOf(facts.verdict)];

// How a thing is drawn.
export function lookOf(thing) {
    const {state, verdict} = thing.facts;
    if (thing.kind !== 'disk') return {letter: markOf(thing), tone: toneOf(verdict)};
    const fine = verdict === 'OK' && diskStates.get(state)?.fine;
    return {letter: letterOf(state) ?? '?', tone: fine || toneOf(verdict)};
}

export const sentence = (parts) => parts.filter((part) => part).join(', ');

// The state, and why it is not fine where the state does not tell that: "Error, charge Critical", but "FAILED".
export const statusOf = ({state = '', reason = ''}) => (reason.startsWith(state) ? reason : sentence([state, reason]));
// The same without the state: "charge Critical".
export const newsOf = ({state = '', reason = ''}) => (
    reason.startsWith(state) ? reason.slice(state.length).replace(/^, /, '') : reason);

const shown = (text) => text || '–';

function placeOf(facts) {
    if (facts.enclosure === undefined) return `Disk ${facts.device}`;
    return `Disk in slot ${facts.slot} of enclosure ${facts.enclosure}`;
}

const names = {
    controller: (facts) => `Controller ${facts.controller}`,
    software: (facts) => `Firmware of controller ${facts.controller}`,
    volume: (facts) => `Volume ${facts.device}${facts.name ? ` “${facts.name}”` : ''} on ${facts.controller}`,
    disk: (facts) => `${placeOf(facts)} on ${facts.controller}`,
    port: (facts) => `Port ${facts.device} on ${facts.controller}`,
    battery: (facts) => `Battery ${facts.device} on ${facts.controller}`,
    enclosure: (facts) => `Enclosure ${facts.enclosure} on ${facts.controller}`,
};

// "Disk in slot 4 of enclosure 252 on c0"
export const nameOf = (thing) => names[thing.kind](thing.facts);

// The words for several.
export const kinds = new Map([['controller', 'controllers'], ['volume', 'volumes'], ['disk', 'disks'],
    ['port', 'ports'], ['battery', 'batteries'], ['enclosure', 'enclosures']]);

// "3-5, 7" of numbers in ascending order.
function rangesOf(numbers) {
    const ranges = [];
    for (const number of numbers) {
        const last = ranges.at(-1);
        if (last && number <= last[1] + 1) last[1] = number;
        else ranges.push([number, number]);
    }
    return ranges.map(([from, to]) => (from === to ? `${from}` : `${from}–${to}`)).join(', ');
}

// "slots 2–6 of enclosure 252, disk nvme0"
export function placesOf(disks) {
    const slots = new Map();
    const loose = [];
    for (const {facts} of disks) {
        if (facts.enclosure === undefined) loose.push(facts.device);
        else slots.set(facts.enclosure, [...(slots.get(facts.enclosure) ?? []), Number(facts.slot)]);
    }
    const places = [...slots].map(([enclosure, numbers]) => {
        const ranges = rangesOf(numbers.sort((a, b) => a - b));
        return `${numbers.length === 1 ? 'slot' : 'slots'} ${ranges} of enclosure ${enclosure}`;
    });
    if (loose.length > 0) places.push(`${loose.length === 1 ? 'disk' : 'disks'} ${loose.join(', ')}`);
    return places.join(', ');
}

export const counted = (number, one, many) => `${number} ${number === 1 ? one : many}`;

export function listed(texts, most) {
    const more = texts.length - most;
    return more > 0 ? `${texts.slice(0, most).join(', ')} and ${more} more` : texts.join(', ');
}

// The lines of a change: [{what, from, to}], the state first; `what` is empty for the state, which tells the verdict.
export function stepsOf(change) {
    if (change.event === 'appeared') return [{what: 'appeared', to: shown(change.state)}];
    if (change.event === 'removed') return [{what: 'removed', from: shown(change.state)}];
    const {state, health, verdict, reason, ...rest} = change.factChanges ?? {};
    const facts = state === undefined ? {verdict, reason, health, ...rest} : {'': state, ...rest};
    const steps = Object.entries(facts).filter(([, step]) => step !== undefined)
        .map(([what, step]) => ({what, from: shown(step.from), to: shown(step.to)}));
    if (steps.length === 0) steps.push({what: `changed: ${Object.keys(change.changes ?? {}).join(', ')}`});
    return steps;
}

// Many that come or go need not have had one state.
export const stepsOfAll = (changes) => (changes.length === 1 || changes[0].event === 'changed' ? stepsOf(changes[0])
    : [{what: changes[0].event}]);

// "24 disks of enclosure 252 on c0" of changes that are of one kind and place.
export function nameOfAll(changes) {
    const [{kind, facts}] = changes;
    if (changes.length === 1) return nameOf(changes[0]);
    const place = facts.enclosure === undefined ? '' : ` of enclosure ${facts.enclosure}`;
    return `${changes.length} ${kinds.get(kind) ?? kind}${place} on ${facts.controller}`;
}

export function sentenceOf(changes) {
    const steps = stepsOfAll(changes).map(({what, from, to}) => {
        const arrow = from && to ? `${from} to ${to}` : (from ?? to ?? '');
        return `${what} ${arrow}`.trim();
    });
    return `${nameOfAll(changes)}: ${steps.join('; ')}`;
}

// "2026-01-05 10:02:11 +01:00"
export const clockOf = (time) => time.replace('T', ' ').replace(/(?=[-+][:\d]+$)/, ' ');

export function agoOf(seconds) {
    const whole = Math.floor(seconds);
    if (whole < 60) return `${whole} s`;
    if (whole < 3600) return `${Math.floor(whole / 60)} min ${whole % 60} s`;
    return `${Math.floor(whole / 3600)} h ${Math.floor(whole / 60) % 60} min`;
}
