// The arrow keys: each list of class "walk" is one stop of the Tab key, and the arrows move within it.

const itemsOf = (list) => [...list.querySelectorAll('button')].filter((item) => item.checkVisibility());

const centreOf = (node) => {
    const at = node.getBoundingClientRect();
    return {x: at.left + at.width / 2, y: at.top + at.height / 2};
};

// The nearest item of the nearest row above or below.
function vertically(items, from, direction) {
    const start = centreOf(from);
    let best = null;
    for (const node of items) {
        const at = centreOf(node);
        const rows = (at.y - start.y) * direction;
        if (rows < 1) continue;
        const distance = rows * 1000 + Math.abs(at.x - start.x);
        if (best === null || distance < best.distance) best = {node, distance};
    }
    return best?.node;
}

const steps = {
    ArrowRight: (items, from) => items[items.indexOf(from) + 1],
    ArrowLeft: (items, from) => items[items.indexOf(from) - 1],
    ArrowDown: (items, from) => vertically(items, from, 1),
    ArrowUp: (items, from) => vertically(items, from, -1),
    Home: (items) => items[0],
    End: (items) => items.at(-1),
};

function stopAt(list, chosen) {
    for (const item of list.querySelectorAll('button')) item.tabIndex = item === chosen ? 0 : -1;
}

// After the lists have changed: each has one stop, the one it had if that is still there.
export function restoreStops(root) {
    for (const list of root.querySelectorAll('.walk')) {
        const items = itemsOf(list);
        stopAt(list, items.find((item) => item.tabIndex === 0 && item.dataset.stop === 'yes') ?? items[0]);
    }
}

export function walkIn(root) {
    root.addEventListener('focusin', (event) => {
        const list = event.target.closest('.walk');
        if (list === null) return;
        for (const item of list.querySelectorAll('button')) delete item.dataset.stop;
        event.target.dataset.stop = 'yes';
        stopAt(list, event.target);
    });
    root.addEventListener('keydown', (event) => {
        const list = event.target.closest('.walk');
        const step = steps[event.key];
        if (list === null || step === undefined || event.ctrlKey || event.altKey || event.metaKey) return;
        event.preventDefault();
        step(itemsOf(list), event.target)?.focus();
    });
}
