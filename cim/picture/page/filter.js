// What is shown of all that is there: a search, and chips to pick verdicts, kinds and states by. The chips of a group
// widen what is shown; each group and each word narrows it. What does not match steps back or is left out.
import {ask, element, keep, makeButton, setAttribute, setShown, setText} from './dom.js';
import {grouped} from './model.js';
import {kinds, letterOf, nameOf, states, toneOf, verdicts} from './words.js';

// By the elements that hold their chips.
const groups = {
    verdicts: {valueOf: ({facts}) => facts.verdict, order: verdicts, word: (verdict) => verdict},
    kinds: {
        valueOf: ({kind}) => kind,
        order: [...kinds.keys()],
        word: (kind, count) => (count === 1 ? kind : kinds.get(kind)),
    },
    states: {
        valueOf: ({since, facts}) => (since === undefined ? facts.state ?? '–' : 'gone'),
        order: states,
        word: (state) => state.toLowerCase(),
    },
};

const haystacks = new WeakMap();

// A thing's name and link, and the values of all its facts and properties.
function haystackOf(thing) {
    if (!haystacks.has(thing)) {
        const values = [thing.facts, thing.properties, thing.software ?? {}].flatMap(Object.values).flat();
        haystacks.set(thing, [nameOf(thing), decodeURIComponent(thing.link), ...values].join('\n').toLowerCase());
    }
    return haystacks.get(thing);
}

function chipView({id, value}) {
    const letter = element('span', 'letter', (id === 'states' && letterOf(value)) || '');
    const text = element('span', '');
    const button = makeButton('chip', letter, text);
    button.addEventListener('click', () => ask(button, 'pick', {id, value}));
    setShown(letter, letter.textContent !== '');
    return {
        node: element('li', '', button),
        update({count, picked}) {
            setText(text, `${count} ${groups[id].word(value, count)}`);
            if (id === 'verdicts') setAttribute(button, 'data-tone', toneOf(value));
            setAttribute(button, 'aria-pressed', picked);
        },
    };
}

export class Filter {
    #at;
    #changed;
    #picked = Object.fromEntries(Object.keys(groups).map((id) => [id, new Set()]));

    // `at` gives the elements of the page by ID; `changed` is called when something else is to be shown.
    constructor(at, changed) {
        this.#at = at;
        this.#changed = changed;
        at('search').addEventListener('input', changed);
        at('clear').addEventListener('click', () => {
            this.clear();
            at('search').focus();
        });
        document.addEventListener('pick', ({detail: {id, value}}) => {
            if (!this.#picked[id].delete(value)) this.#picked[id].add(value);
            changed();
        });
    }

    clear() {
        this.#at('search').value = '';
        for (const values of Object.values(this.#picked)) values.clear();
        this.#changed();
    }

    get #words() {
        return this.#at('search').value.toLowerCase().split(/\s+/).filter((word) => word);
    }

    get active() {
        return this.#words.length > 0 || Object.values(this.#picked).some((values) => values.size > 0);
    }

    // Marks each of the model's things as out or not, and draws the chips.
    apply({things}) {
        const words = this.#words;
        for (const thing of things) {
            const picked = Object.entries(groups)
                .every(([id, {valueOf}]) => this.#picked[id].size === 0 || this.#picked[id].has(valueOf(thing)));
            thing.out = !picked || !words.every((word) => haystackOf(thing).includes(word));
        }
        for (const [id, {valueOf, order}] of Object.entries(groups)) {
            const byValue = grouped(things, valueOf);
            for (const value of this.#picked[id]) if (!byValue.has(value)) byValue.set(value, []); // to let go of it
            const rank = (value) => (order.indexOf(value) + order.length + 1) % (order.length + 1);
            const chips = [...byValue].sort(([a], [b]) => rank(a) - rank(b)).map(([value, those]) => (
                {id, value, count: those.length, picked: this.#picked[id].has(value)}));
            keep(this.#at(id), chips, ({value}) => value, chipView);
        }
        const shown = things.filter((thing) => !thing.out).length;
        setText(this.#at('shown'), this.active ? `${shown} of ${things.length} shown` : '');
        setShown(this.#at('clear'), this.active);
    }
}
