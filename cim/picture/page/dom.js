// Elements made and kept up to date. Texts only ever become text nodes and attributes: what vendors say is data.

export function element(tag, className, ...children) {
    const made = document.createElement(tag);
    if (className) made.className = className;
    made.append(...children);
    return made;
}

export function makeButton(className, ...children) {
    const button = element('button', className, ...children);
    button.type = 'button';
    return button;
}

// A button that folds and unfolds a part of `node`, on the screen: on paper nothing is folded. Where `toggle(isOpen)`
// is given it decides.
export function makeFold(node, label, toggle) {
    const button = makeButton('fold', label);
    const open = (isOpen) => {
        node.classList.toggle('folded', !isOpen);
        setAttribute(button, 'aria-expanded', isOpen);
    };
    button.addEventListener('click', () => (toggle ?? open)(node.classList.contains('folded')));
    open(false);
    return {button, open};
}

// What a view asks of the page.
export const ask = (node, what, detail) => node.dispatchEvent(new CustomEvent(what, {bubbles: true, detail}));

// All three write only what differs: nothing is announced or selected anew.
export function setText(node, text) {
    if (node.textContent !== text) node.textContent = text;
}

export function setShown(node, shown) {
    if (node.hidden === shown) node.hidden = !shown;
}

// null removes the attribute.
export function setAttribute(node, name, value) {
    if (value === null) {
        node.removeAttribute(name);
    } else if (node.getAttribute(name) !== String(value)) {
        node.setAttribute(name, value);
    }
}

const viewsOf = new WeakMap();

// Makes the children of `parent` those of `items`. A view {node, update(item)} is made once for each key and lives as
// long as the key is there, so that focus, hover and animations survive an update.
export function keep(parent, items, keyOf, makeView) {
    const before = viewsOf.get(parent) ?? new Map();
    const now = new Map();
    for (const item of items) {
        let key = keyOf(item);
        while (now.has(key)) key += '+'; // hardware that claims to be the same thing twice is shown twice
        const view = before.get(key) ?? makeView(item);
        view.update(item);
        now.set(key, view);
    }
    for (const [key, view] of before) if (!now.has(key)) view.node.remove();
    let place = parent.firstElementChild;
    for (const view of now.values()) {
        if (view.node === place) {
            place = place.nextElementSibling;
        } else {
            parent.insertBefore(view.node, place);
        }
    }
    viewsOf.set(parent, now);
}
