// What changed, and when: newest first, what was noticed at one moment together. New ones are read out.
import {element, keep, setShown, setText} from './dom.js';
import {clockOf, listed, nameOf, sentenceOf, stepsOf} from './words.js';
import {makeButton} from './views.js';

const kMostReadOut = 3;

function stepElement({what, from, to}) {
    const node = element('span', 'step', what);
    if (from !== undefined) node.append(' ', element('span', 'from', from));
    if (from !== undefined && to !== undefined) node.append(' → ');
    if (to !== undefined) node.append(' ', element('strong', '', to));
    return node;
}

function changeView(change) {
    const name = makeButton('link', nameOf(change));
    name.dataset.leadsTo = change.path;
    const node = element('li', 'change', name, ' ', ...stepsOf(change).map(stepElement));
    return {
        node,
        update({present}) {
            name.disabled = !present; // nothing to lead to any more
        },
    };
}

function momentView({time}) {
    const when = element('time', '', clockOf(time));
    when.dateTime = time;
    const changes = element('ul', '');
    return {
        node: element('li', 'moment', when, changes),
        update(moment) {
            keep(changes, moment.changes, (change) => String(change.number), changeView);
        },
    };
}

function momentsOf(model) {
    const moments = [];
    for (const change of model.changes) {
        if (moments.at(-1)?.time !== change.time) moments.push({time: change.time, changes: []});
        moments.at(-1).changes.push({...change, present: model.byPath.has(change.path)});
    }
    return moments;
}

export class Changes {
    #section;
    #news;
    #newest = null; // number of the newest change that has been shown

    constructor(section, news) {
        this.#section = section;
        this.#news = news;
    }

    update(model) {
        keep(this.#section.querySelector('.moments'), momentsOf(model), (moment) => moment.time, momentView);
        const quiet = this.#section.querySelector('#quiet');
        setShown(quiet, model.changes.length === 0);
        setText(quiet, `Nothing has changed since ${clockOf(model.watchedSince)}.`);
        this.#readOut(model.changes);
    }

    #readOut(changes) {
        const fresh = changes.filter((change) => this.#newest !== null && change.number > this.#newest);
        if (fresh.length > 0) this.#news.replaceChildren(element('p', '', listed(fresh.map(sentenceOf), kMostReadOut)));
        this.#newest = changes[0]?.number ?? 0;
    }
}
