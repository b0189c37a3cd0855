// Printed, without backgrounds and colours, the page tells as much.
import assert from 'node:assert/strict';
import {sample, show, together} from './harness.js';

// More troubles than the screen lists at first.
function troubled() {
    const description = sample('storage-node');
    const [shelf] = description.controllers[0].disks;
    for (let slot = 0; slot < 9; ++slot) shelf.except = {...shelf.except, [slot]: {status: 'failed'}};
    return description;
}

// How wide the four sides of a thing's border are together.
const inkOf = (node) => {
    const style = getComputedStyle(node);
    const edges = ['Top', 'Right', 'Bottom', 'Left'].map((edge) => parseFloat(style[`border${edge}Width`]));
    return edges.reduce((sum, width) => sum + width);
};

for (const colorScheme of ['light', 'dark']) {
    show(`states are words and ink, from a ${colorScheme} screen`, troubled(), async (page) => {
        const listed = await page.locator('.finding').count();
        assert.ok(listed > 12);
        assert.equal(await page.locator('.finding:visible').count(), 12);
        const more = page.getByRole('button', {name: `${listed - 12} more`});
        await more.click();
        assert.equal(await page.locator('.finding:visible').count(), listed);
        await more.click();
        await page.getByRole('button', {name: 'Controller c0'}).click();
        await page.getByLabel('Search').fill('nothing has this');
        assert.equal(await page.locator('.bay:visible').count(), 0);
        await page.emulateMedia({media: 'print'});
        assert.equal(await page.locator('.finding:visible').count(), listed);
        assert.equal(await page.locator('.bay:visible').count(), 84);

        const bays = page.locator('.bay');
        const words = await bays.evaluateAll((all) => all.map((bay) => bay.querySelector('.word').innerText));
        const told = await bays.evaluateAll((all) => all.map((bay) => bay.querySelector('.unseen').textContent));
        words.forEach((word, index) => assert.ok(word && told[index].includes(word), `${word}: ${told[index]}`));

        for (const [things, tones] of [['.bay', ['good', 'warn', 'bad']], ['.volume', ['good', 'warn']],
            ['.finding', ['warn', 'bad']]]) {
            const inks = [];
            for (const tone of tones) {
                inks.push(await page.locator(`${things}[data-tone="${tone}"]`).first().evaluate(inkOf));
            }
            assert.ok(inks.every((ink, index) => index === 0 || ink > inks[index - 1]), `${things}: ${inks}`);
        }

        // Black on white or nearly, whatever is behind it; the browser would pale what was meant for a background.
        const pale = await page.evaluate(() => [...document.querySelectorAll('body *')]
            .filter((node) => node.checkVisibility() && !node.closest('.unseen'))
            .filter((node) => [...node.childNodes].some(
                (child) => child.nodeType === Node.TEXT_NODE && child.data.trim()))
            .filter((node) => getComputedStyle(node).color.match(/\d+/g).slice(0, 3).some((part) => Number(part) > 0x40))
            .map((node) => node.outerHTML));
        assert.deepEqual(pale, []);
    }, {colorScheme, reducedMotion: 'reduce'});
}

show('the moment of the look is printed, not how long ago it was', sample('rack-server'), async (page) => {
    assert.match((await page.pdf({format: 'A4'})).subarray(0, 5).toString(), /^%PDF-/);
    await page.emulateMedia({media: 'print'});
    assert.match(await page.locator('#freshness').innerText(), /^Read at \d{4}-\d\d-\d\d [:\d]{8} [-+][:\d]{5}$/);
});

together('paper');
