// The details of one thing, the one that the page's address leads to.
import {element, setAttribute, setShown, setText} from './dom.js';
import {markOf, nameOf, sentence, statusOf, toneOf} from './words.js';

export function linkTo(thing, ...children) {
    const link = element('a', '', ...(children.length > 0 ? children : [nameOf(thing)]));
    link.setAttribute('href', thing.link);
    return link;
}

const areThings = (value) => Array.isArray(value) && value[0]?.members !== undefined;

function textOf(value) {
    if (areThings(value)) return value.map(nameOf).join(', ');
    if (Array.isArray(value)) return value.map(textOf).join(', ');
    return typeof value === 'object' ? JSON.stringify(value) : String(value);
}

// [title, [[name, value]]]
function sectionsOf({facts, properties, software, members, volumes}) {
    const {members: paths, ...told} = facts;
    const others = Object.entries({disks: members, volumes}).filter(([, things]) => things.length > 0);
    return [
        ['Facts', [...Object.entries(told), ...others]],
        ['Properties', Object.entries(properties)],
        ['Properties of its firmware', Object.entries(software ?? {})],
    ].filter(([, rows]) => rows.length > 0);
}

function rowElements([name, value]) {
    const shown = element('dd', '');
    if (areThings(value)) shown.append(element('ul', '', ...value.map((thing) => element('li', '', linkTo(thing)))));
    else shown.append(textOf(value));
    return [element('dt', '', name), shown];
}

export class Panel {
    #node;
    #parts;
    #text = '';

    constructor(node, close) {
        this.#node = node;
        const part = (name) => node.querySelector(`.${name}`);
        this.#parts = {title: part('title'), verdict: part('state'), copy: part('copy'), said: part('said'),
            details: part('details')};
        part('close').addEventListener('click', close);
        this.#parts.copy.addEventListener('click', () => this.#copy());
    }

    get isOpen() {
        return !this.#node.hidden;
    }

    // Undefined: what the address leads to is not there. Nothing is written anew that has not changed.
    show(thing) {
        const {title, verdict, copy, said, details} = this.#parts;
        const name = thing === undefined ? 'Not there' : nameOf(thing);
        const status = thing === undefined ? `Nothing here is called ${location.hash.slice(1)}.`
            : sentence([...new Set([thing.facts.verdict, thing.since ? thing.facts.reason : statusOf(thing.facts)])]);
        const sections = thing === undefined ? [] : sectionsOf(thing);
        const lines = sections.flatMap(([, rows]) => rows.map(([key, value]) => `${key}: ${textOf(value)}`));
        const text = [name, status, location.href, ...lines, ''].join('\n');
        if (this.isOpen && text === this.#text) return;
        this.#text = text;
        this.#open(true);
        setText(title, name);
        setText(verdict, thing === undefined ? status : `${markOf(thing)} ${status}`);
        setAttribute(verdict, 'data-tone', toneOf(thing?.facts.verdict));
        setShown(copy, thing !== undefined);
        setText(said, '');
        details.replaceChildren(...sections.flatMap(([heading, rows]) => [
            element('h3', '', heading), element('dl', '', ...rows.flatMap(rowElements))]));
    }

    hide() {
        this.#open(false);
    }

    focus() {
        this.#parts.title.focus({preventScroll: true});
    }

    #open(isOpen) {
        setShown(this.#node, isOpen);
        document.body.classList.toggle('with-panel', isOpen);
    }

    async #copy() {
        try {
            await navigator.clipboard.writeText(this.#text);
            setText(this.#parts.said, 'Copied.');
        } catch {
            getSelection().selectAllChildren(this.#node);
            setText(this.#parts.said, 'The browser does not allow copying. All is selected: press Ctrl+C.');
        }
    }
}
