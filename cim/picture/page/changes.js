// What changed, and when: newest first, what was noticed at one moment together. New ones are read out.
import {ask, element, keep, makeButton, makeFold, setShown, setText} from './dom.js';
import {grouped, linkOf} from './model.js';
import {linkTo} from './panel.js';
import {clockOf, listed, nameOf, nameOfAll, sentenceOf, stepsOf, stepsOfAll} from './words.js';

const kMostReadOut = 3;
const kMostApart = 3; // more of a kind that went through the same are one line, to be unfolded

function stepElement({what, from, to}) {
    const node = element('span', 'step', what);
    if (from !== undefined) node.append(' ', element('span', 'from', from));
    if (from !== undefined && to !== undefined) node.append(' → ');
    if (to !== undefined) node.append(' ', element('strong', '', to));
    return node;
}

// A link leads to what has gone, too, or says that it is not there.
const changeElement = (change) => element('li', 'change', linkTo({...change, link: linkOf(change)}), ' ',
    ...stepsOf(change).map(stepElement));

function groupView(group) {
    if (group.length === 1) return {node: changeElement(group[0]), update() {}};
    const node = element('li', 'change');
    node.append(makeFold(node, nameOfAll(group)).button, ' ', ...stepsOfAll(group).map(stepElement),
        element('ul', 'folds', ...[...group].reverse().map(changeElement)));
    return {node, update() {}};
}

function acknowledgedView(thing) {
    const undo = makeButton('small', 'Undo', element('span', 'unseen', `: ${nameOf(thing)} needs a look again`));
    undo.addEventListener('click', () => ask(undo, 'acknowledge', {thing, acknowledged: false}));
    return {node: element('li', '', `${nameOf(thing)} is gone, and acknowledged `, undo), update() {}};
}

function momentView({time}) {
    const when = element('time', '', clockOf(time));
    when.dateTime = time;
    const changes = element('ul', '');
    const acknowledged = element('ul', '');
    return {
        node: element('li', 'moment', when, element('div', '', changes, acknowledged)),
        update(moment) {
            keep(changes, groupsOf(moment.changes), ([change]) => String(change.number), groupView);
            keep(acknowledged, moment.acknowledged, (thing) => thing.path, acknowledgedView);
        },
    };
}

// [[change]]: those of one kind and place that went through the same stand together when they are many.
function groupsOf(changes) {
    const alike = grouped(changes, (change) => (
        JSON.stringify([change.kind, change.facts.controller, change.facts.enclosure, stepsOfAll([change, change])])));
    return [...alike.values()].flatMap((group) => (group.length > kMostApart ? [group] : group.map((one) => [one])));
}

// What has been acknowledged stays here for good, even where its removal is no longer remembered.
function momentsOf({changes, acknowledged}) {
    const moments = grouped(changes, ({time}) => time);
    const byTime = grouped(acknowledged, ({since}) => since);
    for (const time of [...byTime.keys()].sort().reverse()) if (!moments.has(time)) moments.set(time, []);
    return [...moments].map(([time, those]) => ({time, changes: those, acknowledged: byTime.get(time) ?? []}));
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
        const moments = momentsOf(model);
        keep(this.#section.querySelector('.moments'), moments, (moment) => moment.time, momentView);
        const quiet = this.#section.querySelector('#quiet');
        setShown(quiet, moments.length === 0);
        setText(quiet, `Nothing has changed since ${clockOf(model.watchedSince)}.`);
        this.#readOut(model.changes);
    }

    #readOut(changes) {
        const fresh = changes.filter((change) => this.#newest !== null && change.number > this.#newest);
        const sentences = groupsOf(fresh).map(sentenceOf);
        if (fresh.length > 0) this.#news.replaceChildren(element('p', '', listed(sentences, kMostReadOut)));
        this.#newest = changes[0]?.number ?? 0;
    }
}
