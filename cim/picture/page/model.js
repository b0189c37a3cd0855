// From /api/inventory's document to what is drawn: controllers with enclosures, bays and devices. Touches no page.
import {toneOf, verdicts} from './words.js';

const classes = [
    ['controller', 'Zembra_QuarnelController'],
    ['volume', 'Zembra_QuarnelStorageVolume'],
    ['disk', 'Zembra_QuarnelStorageExtent'],
    ['port', 'Zembra_QuarnelSASSATAPort'],
    ['battery', 'Zembra_QuarnelBattery'],
];

// An enclosure whose slots lie this far apart is drawn without its gaps.
const mostEmptyBays = 60;

const natural = new Intl.Collator('en', {numeric: true}).compare;
const byDevice = (a, b) => natural(a.facts.device ?? '', b.facts.device ?? '');

// A map from key to the items that have it, in their order.
export function grouped(items, keyOf) {
    const groups = new Map();
    for (const item of items) {
        const key = keyOf(item);
        const group = groups.get(key);
        if (group) group.push(item);
        else groups.set(key, [item]);
    }
    return groups;
}

const encoded = (text) => encodeURIComponent(text).replaceAll('%3A', ':');
const linkTo = (parts) => `#${parts.map(encoded).join('/')}`;

// "#c0" leads to a controller and to its firmware, "#c0/32:13" to a disk, "#c0/volume/0" to anything else: a volume and
// a port may have the same ID.
export function linkOf({kind, path, facts: {controller = '', enclosure, device = path}}) {
    if (kind === 'controller' || kind === 'software') return linkTo([controller]);
    if (kind === 'disk') return linkTo([controller, device]);
    return linkTo([controller, kind, kind === 'enclosure' ? enclosure : device]);
}

function thingOf(kind, {path, facts, properties = {}, since}) {
    const thing = {kind, path, facts, properties, since, members: [], volumes: []};
    return {...thing, link: linkOf(thing)};
}

function thingsOf(inventory) {
    return classes.flatMap(([kind, name]) => (inventory[name] ?? []).map((item) => thingOf(kind, item)));
}

// Stands for a controller of which only devices are there. They are judged for it; it is not.
const absentController = (id) => thingOf('controller',
    {path: `absent ${id}`, facts: {controller: id, reason: 'not in the answer, only its devices are'}});

// Slots are numbers wherever a caption could be read; -1 otherwise.
const slotOf = (disk) => (/^\d{1,9}$/.test(disk.facts.slot) ? Number(disk.facts.slot) : -1);

function baysOf(disks, key, knownSlots) {
    const bySlot = grouped(disks, slotOf);
    const numbers = [...bySlot.keys()].filter((slot) => slot >= 0);
    if (numbers.length > 0) {
        const [first, last] = knownSlots.rangeWith(key, numbers);
        if (last - first + 1 - numbers.length <= mostEmptyBays) {
            for (let slot = first; slot <= last; ++slot) if (!bySlot.has(slot)) bySlot.set(slot, [null]);
        }
    }
    return [...bySlot.keys()].sort((a, b) => a - b)
        .flatMap((slot) => bySlot.get(slot).map((disk) => ({slot: disk?.facts.slot ?? String(slot), disk})));
}

function enclosuresOf(disks, controller, knownSlots) {
    const byEnclosure = grouped(disks, (disk) => disk.facts.enclosure);
    byEnclosure.delete(undefined);
    return [...byEnclosure.keys()].sort(natural).map((id) => {
        const inside = byEnclosure.get(id);
        const bays = baysOf(inside, JSON.stringify([controller, id]), knownSlots);
        return {id, controller, count: inside.length, bays};
    });
}

function controllerWith(id, things, missed, knownSlots) {
    const own = (kind) => things.filter((thing) => thing.kind === kind).sort(byDevice);
    const disks = own('disk');
    return {
        id,
        thing: own('controller')[0] ?? absentController(id),
        things,
        counts: countsOf([...things, ...missed.filter(({facts}) => facts.controller === id)]),
        enclosures: enclosuresOf(disks, id, knownSlots),
        loose: disks.filter((disk) => disk.facts.enclosure === undefined),
        volumes: own('volume'),
        ports: own('port'),
        batteries: own('battery'),
    };
}

// [{verdict, count, tone}], the worst first, of those that there are.
function countsOf(things) {
    const byVerdict = grouped(things, ({facts}) => facts.verdict);
    return verdicts.map((verdict) => ({verdict, count: byVerdict.get(verdict)?.length ?? 0, tone: toneOf(verdict)}))
        .filter(({count}) => count > 0);
}

// What an address leads to; undefined: it is not there. An ID that no disk has may be that of another device.
function findIn(things, hash) {
    let parts;
    try {
        parts = hash.slice(1).split('/').map(decodeURIComponent);
    } catch {
        return undefined;
    }
    const link = linkTo(parts);
    return things.find((thing) => thing.link === link) ?? (parts.length === 2 ? things : [])
        .find(({facts}) => facts.controller === parts[0] && facts.device === parts[1]);
}

// `memory` is what the page remembers (memory.js).
export function modelOf(inventory, memory) {
    const present = thingsOf(inventory);
    const byPath = new Map(present.map((thing) => [thing.path, thing]));
    for (const volume of present.filter(({kind}) => kind === 'volume')) {
        const paths = volume.facts.members ?? [];
        volume.members = paths.map((path) => byPath.get(path)).filter((disk) => disk !== undefined);
        for (const disk of volume.members) disk.volumes.push(volume);
    }
    const gone = (inventory.gone ?? []).map((item) => thingOf(item.kind,
        {...item, facts: {...item.facts, verdict: item.verdict, reason: item.reason}}));
    const [acknowledged, missed] = [true, false].map((told) => (
        gone.filter((thing) => memory.acknowledged.has(thing) === told)));
    const things = [...present, ...missed];
    const softwareOf = grouped(inventory.Zembra_QuarnelSoftwareIdentity ?? [], ({facts}) => facts.controller);
    for (const thing of present.filter(({kind}) => kind === 'controller')) {
        thing.software = softwareOf.get(thing.facts.controller)?.[0].properties;
    }
    const byController = grouped(present, (thing) => thing.facts.controller ?? '');
    const byVerdict = grouped(things, ({facts}) => facts.verdict);
    return {
        ...inventory,
        things,
        byPath,
        acknowledged,
        changes: inventory.changes ?? [],
        find: (hash) => findIn([...present, ...gone], hash),
        controllers: [...byController.keys()].sort(natural)
            .map((id) => controllerWith(id, byController.get(id), missed, memory.slots)),
        counts: countsOf(things),
        findings: verdicts.filter((verdict) => verdict !== 'OK').flatMap((verdict) => byVerdict.get(verdict) ?? []),
        noController: (inventory[classes[0][1]] ?? []).length === 0,
    };
}
