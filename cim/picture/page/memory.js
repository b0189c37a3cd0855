// What the page remembers from one answer to the next; acknowledgements also from one visit to the next.

// The first and the last slot of each enclosure that ever held a disk: a pulled disk leaves its bay behind.
class Slots {
    #ranges = new Map();

    rangeWith(enclosure, slots) {
        const known = this.#ranges.get(enclosure) ?? [];
        const range = [Math.min(...known, ...slots), Math.max(...known, ...slots)];
        this.#ranges.set(enclosure, range);
        return range;
    }
}

// Which controllers are folded: those that have always been fine, unless there is but one. None folds by itself under
// its reader's eyes, and what somebody folded or unfolded stays so.
class Folds {
    #byHand = new Map();
    #opened = new Set();

    isOpen({id, counts}, alone, searching) {
        if (alone || counts[0]?.verdict !== 'OK') this.#opened.add(id);
        return this.#byHand.get(id) ?? (searching || this.#opened.has(id));
    }

    set(id, open) {
        this.#byHand.set(id, open);
    }
}

const kKey = 'quarnel.acknowledged';
const kMost = 1000; // of many servers, perhaps: the oldest give way

// What is gone and need not be told any more, by path and time: what goes once more is told once more. Where the
// browser keeps nothing, it is remembered as long as the page is open.
class Acknowledged {
    #keys = new Set();

    constructor() {
        try {
            this.#keys = new Set(JSON.parse(localStorage.getItem(kKey) ?? '[]'));
        } catch { /* nothing is remembered */ }
    }

    has({path, since}) {
        return this.#keys.has(`${since} ${path}`);
    }

    set({path, since}, acknowledged) {
        const key = `${since} ${path}`;
        if (acknowledged) this.#keys.add(key);
        else this.#keys.delete(key);
        try {
            localStorage.setItem(kKey, JSON.stringify([...this.#keys].slice(-kMost)));
        } catch { /* until the page is closed */ }
    }
}

export const memory = {slots: new Slots(), folds: new Folds(), acknowledged: new Acknowledged()};
