// Nothing lies over anything else, whatever the number of disks and the width of the window.
import assert from 'node:assert/strict';
import {show, together} from './harness.js';

// Shelves are [id, slots], each with a disk in every slot.
function hardwareOf(shelves) {
    const long = 'a-name-of-many-words-that-has-no-spaces-at-all';
    return {
        controllers: [{
            id: 'c0', model: 'Acme X', pools: [{id: 'free', primordial: true}, {id: 'dg0'}],
            enclosures: shelves.map(([id, slots]) => ({id, slots})),
            disks: [
                ...shelves.map(([id, slots]) => ({enclosure: id, slots: `0-${slots - 1}`, pool: 'dg0', size: '18TB'})),
                {id: 'nvme0', pool: 'free', size: '1TB'}, {id: long, pool: 'free', size: '1TB'},
            ],
            volumes: [{id: '0', name: long, raid: 'RAID60', pool: 'dg0', size: '500TB'}],
            ports: [{ids: '0-15', name: 'Port {id}', type: 'SAS'}],
            batteries: [{id: 'bbu0'}],
        }],
    };
}

// Pairs of things that overlap, things that stick out of the page or their bay, letters too large for theirs.
function faults() {
    const found = [];
    const things = [...document.querySelectorAll('main button, main a, .letter, h2, h3')];
    const boxes = things.filter((node) => node.checkVisibility())
        .map((node) => ({node, at: node.getBoundingClientRect()}));
    const nameOf = (node) => node.querySelector('.unseen')?.textContent || node.textContent;
    boxes.sort((a, b) => a.at.top - b.at.top);
    boxes.forEach(({node, at}, index) => {
        if (at.width < 8 || at.height < 8) found.push(`too small: ${nameOf(node)}`);
        if (at.left < 0 || at.right > document.documentElement.clientWidth) found.push(`sticks out: ${nameOf(node)}`);
        for (const other of boxes.slice(index + 1)) {
            if (other.at.top >= at.bottom - 0.5) break;
            if (node.contains(other.node) || other.node.contains(node)) continue;
            const apart = other.at.left >= at.right - 0.5 || at.left >= other.at.right - 0.5;
            if (!apart) found.push(`${nameOf(node)} / ${nameOf(other.node)}`);
        }
    });
    for (const bay of document.querySelectorAll('.bay')) {
        const fits = bay.scrollWidth <= bay.clientWidth && bay.scrollHeight <= bay.clientHeight;
        if (!fits) found.push(`too much in ${nameOf(bay)}`);
    }
    const page = document.documentElement;
    if (page.scrollWidth > page.clientWidth) found.push('scrolls sideways');
    return found;
}

const cases = [
    ['240 disks in four enclosures', [['A', 60], ['B', 60], ['C', 60], ['D', 60]]],
    ['enclosures of all sizes', [1, 4, 8, 10, 12, 16, 24, 36, 45, 48].map((slots) => [`of ${slots}`, slots])],
];
for (const [name, shelves] of cases) {
    show(`${name} are laid out without overlap`, hardwareOf(shelves), async (page) => {
        const count = shelves.reduce((sum, [, slots]) => sum + slots, 0);
        assert.equal(await page.locator('.bay').count(), count);
        assert.equal(await page.locator('.loose').count(), 2);
        for (const width of [340, 480, 800, 1000, 1280, 1600, 2200]) {
            await page.setViewportSize({width, height: 900});
            assert.deepEqual(await page.evaluate(faults), [], `${width} pixels wide`);
        }
        await page.emulateMedia({media: 'print'});
        for (const width of [500, 703, 1000]) { // A5, A4 and A3
            await page.setViewportSize({width, height: 900});
            assert.deepEqual(await page.evaluate(faults), [], `${width} pixels of paper`);
        }
    });
}

together('layout');
