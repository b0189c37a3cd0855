// From /api/inventory's document to what is drawn: controllers with enclosures, bays and devices. Touches no page.
import {gradeOf, gradeWords, toneOfGrade} from './words.js';

const kinds = [
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
function grouped(items, keyOf) {
    const groups = new Map();
    for (const item of items) {
        const key = keyOf(item);
        const group = groups.get(key);
        if (group) group.push(item);
        else groups.set(key, [item]);
    }
    return groups;
}

// `lack` says what is missing from it, in words.
const thingOf = (kind, {path, facts}, lack = '') => ({kind, path, facts, lack, members: [], volumes: []});

function thingsOf(inventory) {
    return kinds.flatMap(([kind, className]) => (inventory[className] ?? []).map((item) => thingOf(kind, item)));
}

// Stands for a controller of which only devices are there.
const absentController = (id) => thingOf('controller', {path: `absent ${id}`, facts: {controller: id}},
    'not in the answer, only its devices are');

// Slots are numbers wherever a caption could be read; -1 otherwise.
const slotOf = (disk) => (/^\d{1,9}$/.test(disk.facts.slot) ? Number(disk.facts.slot) : -1);

// The first and the last slot of each enclosure that ever held a disk: a pulled disk leaves its bay behind.
export class KnownSlots {
    #ranges = new Map();

    rangeWith(enclosure, slots) {
        const known = this.#ranges.get(enclosure) ?? [];
        const range = [Math.min(...known, ...slots), Math.max(...known, ...slots)];
        this.#ranges.set(enclosure, range);
        return range;
    }
}

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

function controllerWith(id, things, knownSlots) {
    const own = (kind) => things.filter((thing) => thing.kind === kind).sort(byDevice);
    const disks = own('disk');
    return {
        id,
        thing: own('controller')[0] ?? absentController(id),
        enclosures: enclosuresOf(disks, id, knownSlots),
        loose: disks.filter((disk) => disk.facts.enclosure === undefined),
        volumes: own('volume'),
        ports: own('port'),
        batteries: own('battery'),
    };
}

export function modelOf(inventory, knownSlots) {
    const things = thingsOf(inventory);
    const byPath = new Map(things.map((thing) => [thing.path, thing]));
    const byController = grouped(things, (thing) => thing.facts.controller ?? '');
    for (const volume of things.filter((thing) => thing.kind === 'volume')) {
        volume.members = volume.facts.members.map((path) => byPath.get(path)).filter((disk) => disk !== undefined);
        for (const disk of volume.members) disk.volumes.push(volume);
        if (volume.members.length === 0) volume.lack = 'no disks known';
    }
    const controllers = [...byController.keys()].sort(natural)
        .map((id) => controllerWith(id, byController.get(id), knownSlots));
    for (const {id, thing} of controllers) {
        if (byController.get(id).every(({kind}) => kind === 'controller')) thing.lack = 'no devices known';
    }
    const absent = controllers.map(({thing}) => thing).filter((thing) => !byPath.has(thing.path));
    const byGrade = grouped([...things, ...absent], gradeOf);
    const graded = (grade) => byGrade.get(grade) ?? [];
    const noController = absent.length === controllers.length;
    return {
        host: inventory.system,
        byPath,
        source: inventory.source ?? '',
        controllers,
        noController,
        counts: [
            ...(noController ? [{count: 0, what: 'controllers', tone: 'bad'}] : []),
            ...gradeWords.map((grade) => ({count: graded(grade).length, what: grade, tone: toneOfGrade(grade)}))
                .filter(({count}) => count > 0),
        ],
        findings: gradeWords.filter((grade) => grade !== 'OK').flatMap(graded),
        changes: inventory.changes ?? [],
        watchedSince: inventory.watchedSince,
    };
}
