// The words for what is shown: letters and tones of states, what a thing is called, how long ago something was.
// Tones are the style sheet's: good, spare, free, busy, warn, bad, odd.

// In the order in which the legend has them.
export const diskStates = new Map([
    ['ONLINE', {letter: 'O', tone: 'good'}],
    ['HOT SPARE', {letter: 'S', tone: 'spare'}],
    ['UNCONFIGURED GOOD', {letter: 'U', tone: 'free'}],
    ['REBUILD', {letter: 'R', tone: 'busy'}],
    ['UNCONFIGURED BAD', {letter: 'B', tone: 'warn'}],
    ['OFFLINE', {letter: 'X', tone: 'bad'}],
    ['FAILED', {letter: 'F', tone: 'bad'}],
    ['UNDEFINED', {letter: '?', tone: 'odd'}],
]);

// What a thing is counted and ranked by, worst first: its health, or that something is missing from it.
const kIncomplete = 'Incomplete';
const grades = new Map([
    ['Failed', 'bad'],
    ['Critical', 'bad'],
    ['Major failure', 'bad'],
    ['Minor failure', 'warn'],
    ['Warning', 'warn'],
    [kIncomplete, 'warn'],
    ['Unknown', 'odd'],
    ['OK', 'good'],
]);
export const gradeWords = [...grades.keys()];

export const gradeOf = ({facts, lack}) => (lack && (facts.health ?? 'OK') === 'OK' ? kIncomplete : facts.health);
export const toneOfGrade = (grade) => grades.get(grade) ?? 'odd';

// How a state is marked; the mark tells it without colour.
const marks = {good: '●', warn: '▲', bad: '✖', odd: '?'};

// How a thing is drawn. A disk's state that no caption told is shown by the disk's health.
export const lookOf = (thing) => {
    const tone = toneOfGrade(gradeOf(thing));
    if (thing.kind === 'disk') return diskStates.get(thing.facts.state) ?? {letter: '?', tone};
    return {letter: marks[tone], tone};
};

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
};

// "Disk in slot 4 of enclosure 252 on c0"
export const nameOf = (thing) => names[thing.kind](thing.facts);

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

// The lines of a change: [{what, from, to}], the state first; `what` is empty for the state. Health follows the state.
export function stepsOf(change) {
    if (change.event === 'appeared') return [{what: 'appeared', to: shown(change.state)}];
    if (change.event === 'removed') return [{what: 'removed', from: shown(change.state)}];
    const facts = {...change.factChanges};
    const steps = [];
    if (facts.state) steps.push({what: '', from: shown(facts.state.from), to: shown(facts.state.to)});
    if (facts.state) delete facts.health;
    delete facts.state;
    for (const [name, step] of Object.entries(facts)) {
        steps.push({what: name, from: shown(step.from), to: shown(step.to)});
    }
    if (steps.length === 0) steps.push({what: `changed: ${Object.keys(change.changes ?? {}).join(', ')}`});
    return steps;
}

export function sentenceOf(change) {
    const steps = stepsOf(change).map(({what, from, to}) => {
        const arrow = from && to ? `${from} to ${to}` : (from ?? to ?? '');
        return `${what} ${arrow}`.trim();
    });
    return `${nameOf(change)}: ${steps.join('; ')}`;
}

export const clockOf = (time) => time.replace('T', ' ');

export function agoOf(seconds) {
    const whole = Math.floor(seconds);
    if (whole < 60) return `${whole} s`;
    if (whole < 3600) return `${Math.floor(whole / 60)} min ${whole % 60} s`;
    return `${Math.floor(whole / 3600)} h ${Math.floor(whole / 60) % 60} min`;
}
