// Pointing: what a pointed-at, focused or chosen thing lights, and the tip that says more of it.
import {element, setAttribute} from './dom.js';
import {tipOf} from './views.js';

const kGap = 8; // pixels between a thing and its tip

export class Light {
    #root;
    #tip;
    #model = {byPath: new Map()};
    #pointed = null; // paths
    #focused = null;
    #chosen = null; // whose details are shown: stays lit

    constructor(root, tip) {
        this.#root = root;
        this.#tip = tip;
        // Not "pointerover": what comes to lie under a pointer at rest is not pointed at.
        root.addEventListener('pointermove', (event) => this.#point(event.target));
        root.addEventListener('pointerleave', () => this.#point(null));
        root.addEventListener('focusin', (event) => this.#focus(event.target));
        root.addEventListener('focusout', () => this.#focus(null));
        document.addEventListener('scroll', () => this.#hideTip(), {passive: true});
    }

    update(model) {
        this.#model = model;
        this.#draw();
    }

    #thingAt(target) {
        return this.#model.byPath.get(target?.closest('.thing')?.dataset.path);
    }

    #point(target) {
        const path = this.#thingAt(target)?.path ?? null;
        if (path === this.#pointed) return;
        this.#pointed = path;
        this.#draw();
        this.#showTip(target);
    }

    #focus(target) {
        this.#focused = this.#thingAt(target)?.path ?? null;
        this.#draw();
        this.#showTip(target);
    }

    // Null: nothing.
    choose(path) {
        this.#chosen = path;
        this.#draw();
    }

    letGo() {
        this.#pointed = null;
        this.#hideTip();
        this.#draw();
    }

    // A volume lights its members and itself. A chosen disk lights its volumes with all of theirs.
    #litBy(path, chosen) {
        const thing = this.#model.byPath.get(path);
        if (thing?.kind === 'volume') return [thing, ...thing.members].map((each) => each.path);
        if (thing?.kind === 'disk' && chosen) return thing.volumes.flatMap((volume) => this.#litBy(volume.path, true));
        return [];
    }

    #draw() {
        const candidates = [[this.#pointed, false], [this.#focused, false], [this.#chosen, true]]
            .map(([path, chosen]) => this.#litBy(path, chosen));
        const lit = new Set(candidates.find((paths) => paths.length > 0));
        const hinted = this.#model.byPath.get(this.#pointed ?? this.#focused)?.volumes ?? [];
        const related = new Set(hinted.map((volume) => volume.path));
        this.#root.classList.toggle('lighting', lit.size > 0);
        for (const node of this.#root.querySelectorAll('button.thing')) {
            const {path} = node.dataset;
            node.classList.toggle('lit', lit.has(path));
            node.classList.toggle('related', related.has(path));
            if (path !== undefined) setAttribute(node, 'aria-pressed', path === this.#chosen);
        }
    }

    #showTip(target) {
        const node = target?.closest('.thing');
        const thing = this.#thingAt(target);
        const details = thing === undefined ? [] : tipOf(thing);
        if (details.length === 0) {
            this.#hideTip();
            return;
        }
        this.#tip.replaceChildren(...details.map((line) => element('p', '', line)));
        this.#tip.hidden = false;
        const at = node.getBoundingClientRect();
        const size = this.#tip.getBoundingClientRect();
        const left = Math.min(Math.max(kGap, at.left), document.documentElement.clientWidth - size.width - kGap);
        const below = at.bottom + kGap;
        const fits = below + size.height <= document.documentElement.clientHeight;
        this.#tip.style.left = `${Math.max(kGap, left)}px`;
        this.#tip.style.top = `${fits ? below : Math.max(kGap, at.top - size.height - kGap)}px`;
    }

    #hideTip() {
        this.#tip.hidden = true;
    }
}
