// Pointer and keyboard: what lights, where the arrows lead, what a screen reader hears.
import assert from 'node:assert/strict';
import {after, before} from 'node:test';
import axe from 'axe-core';
import {closePage, declare, focusedLabel, litBays, openPage, sample, Server, together} from './harness.js';

let server;
before(async () => {
    server = await new Server(sample('storage-node')).start();
});
after(() => server.end());

const slots = (enclosure, from, to) => Array.from({length: to - from + 1}, (_, i) => `${enclosure}:${from + i}`);

function point(name, use, options) {
    declare(name, async () => {
        const page = await openPage(server, options);
        await use(page);
        await closePage(page);
    });
}

// Presses Tab until what is focused has a label that begins so.
async function tabTo(page, label) {
    for (let presses = 0; presses < 30; ++presses) {
        await page.keyboard.press('Tab');
        if ((await focusedLabel(page))?.startsWith(label)) return;
    }
    assert.fail(`Tab does not lead to ${label}`);
}

point('a volume’s members are lit by keyboard, and kept lit', async (page) => {
    await tabTo(page, 'Volume 0 ');
    assert.deepEqual(await litBays(page), slots(32, 0, 9));
    await page.keyboard.press('ArrowDown');
    assert.equal(await focusedLabel(page),
        'Volume 1 “archive-b” on c0, RAID6, 58.20 TiB, DEGRADED, 10 disks: slots 10–19 of enclosure 32');
    assert.deepEqual(await litBays(page), slots(32, 10, 19));
    const ring = await page.locator('.bay.lit').first().evaluate((bay) => getComputedStyle(bay).boxShadow);
    assert.notEqual(ring, 'none');

    await page.keyboard.press('Enter'); // its details are shown, and it stays lit
    assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Volume 1 “archive-b” on c0');
    assert.deepEqual(await litBays(page), slots(32, 10, 19));
    await page.keyboard.press('Escape');
    assert.match(await focusedLabel(page), /^Volume 1 /); // where they were asked for
    await page.keyboard.press('Shift+Tab');
    assert.deepEqual(await litBays(page), []);
});

point('a volume’s members are lit by pointing, a disk’s volumes by choosing it', async (page) => {
    await page.getByRole('button', {name: 'Volume 2 “backup”'}).last().hover();
    assert.deepEqual(await litBays(page), slots(33, 0, 17));
    assert.ok(Number(await page.locator('.bay:not(.lit)').first().evaluate((bay) => {
        bay.getAnimations().forEach((animation) => animation.finish());
        return getComputedStyle(bay).opacity;
    })) < 0.5);

    const disk = page.getByRole('button', {name: 'Slot 13, FAILED'});
    await disk.hover();
    assert.deepEqual(await litBays(page), []);
    assert.equal(await page.locator('.volume.related .name').innerText(), '1 archive-b');
    assert.deepEqual(await page.locator('#tip > p').allInnerTexts(), ['Disk in slot 13 of enclosure 32 on c0', 'FAILED',
        'Health: Failed', '7.28 TiB, firmware K5AT', 'Device 32:13', 'in volume archive-b']);
    await disk.click();
    assert.deepEqual(await litBays(page), slots(32, 10, 19));
    await disk.click();
    assert.deepEqual(await litBays(page), []);
});

point('arrow keys walk an enclosure as it looks, Tab leaves it', async (page) => {
    await tabTo(page, 'Slot 0,');
    const walk = [['ArrowRight', 'Slot 1,'], ['End', 'Slot 19,'], ['ArrowRight', 'Slot 19,'], ['Home', 'Slot 0,'],
        ['ArrowLeft', 'Slot 0,'], ['ArrowRight', 'Slot 1,'], ['ArrowDown', 'Slot 11,'], ['ArrowDown', 'Slot 11,'],
        ['ArrowRight', 'Slot 12,'], ['ArrowUp', 'Slot 2,']];
    for (const [key, label] of walk) {
        await page.keyboard.press(key);
        const focused = await focusedLabel(page);
        assert.ok(focused.startsWith(label), `${key}: ${focused}`);
    }
    await page.keyboard.press('Tab');
    assert.match(await focusedLabel(page), /^Slot 0,.* in volume backup$/); // the next enclosure
    await page.keyboard.press('Shift+Tab');
    assert.match(await focusedLabel(page), /^Slot 2,/); // back where it was left
    const outline = await page.evaluate(() => getComputedStyle(document.activeElement).outlineStyle);
    assert.equal(outline, 'solid');
}, {viewport: {width: 900, height: 900}}); // 20 bays in two rows

point('each enclosure and list says what it is', async (page) => {
    const lists = await page.locator('.machine ul').evaluateAll(
        (all) => all.filter((list) => list.checkVisibility()).map((list) => list.getAttribute('aria-label')));
    const expected = ['Enclosure 32', 'Enclosure 33', 'Enclosure 34', 'Volumes', 'Ports', 'Batteries'];
    assert.deepEqual(lists.slice(0, 6), expected.map((list) => `${list} of controller c0`));
    const enclosure = page.getByRole('list', {name: 'Enclosure 32 of controller c0'});
    assert.equal(await enclosure.getByRole('listitem').count(), 20);
    const disk = enclosure.getByRole('button', {name: 'Slot 13, FAILED, 7.28 TiB, in volume archive-b', exact: true});
    assert.equal(await disk.count(), 1);
    assert.match(await page.locator('.ports .unseen').first().textContent(), /OK, Back-end only$/);
});

const kRules = ['wcag2a', 'wcag2aa', 'wcag21a', 'wcag21aa', 'wcag22aa', 'best-practice'];
async function findingsOf(page, where, rules) {
    await page.evaluate(axe.source);
    const result = await page.evaluate(([context, runOnly]) => globalThis.axe.run(context, {runOnly}), [where, rules]);
    assert.ok(result.passes.length > 0);
    return result.violations.map(({id, nodes}) => `${nodes.length} of ${id}, as ${nodes[0].html}`);
}

const nothing = {time: '2026-01-05T10:02:11Z', watchedSince: '2026-01-05T10:00:00Z', host: '',
    source: 'sample hardware'};

for (const colorScheme of ['light', 'dark']) {
    point(`accessibility rules hold with anything folded, searched for and shown, in ${colorScheme}`, async (page) => {
        assert.deepEqual(await findingsOf(page, 'html', kRules), []);
        const levels = await page.locator('h1, h2, h3').evaluateAll((all) => all.map(({tagName}) => tagName[1]));
        levels.forEach((level, index) => assert.ok(level <= Number(levels[index - 1] ?? 0) + 1, `${levels}`));
        await page.getByRole('button', {name: 'Controller c1'}).click();
        await page.getByLabel('Search').fill('K5B0');
        await page.getByRole('link', {name: /slot 18 of enclosure 34/}).click();
        await page.locator('#panel').waitFor();
        assert.deepEqual(await findingsOf(page, 'html', kRules), []);
    }, {colorScheme, reducedMotion: 'reduce'});
    point(`accessibility rules hold without controllers, in ${colorScheme}`, async (page) => {
        assert.deepEqual(await findingsOf(page, 'html', kRules), []);
    }, {
        colorScheme,
        reducedMotion: 'reduce',
        first: '#no-controller',
        prepare: (page) => page.route('**/api/inventory', (route) => route.fulfill({json: nothing})),
    });
    point(`texts have contrast in ${colorScheme}, also when the server is gone`, async (page) => {
        await page.route('**/api/inventory', (route) => route.abort());
        await page.locator('#notice').waitFor();
        assert.deepEqual(await findingsOf(page, 'body', ['color-contrast']), []);
    }, {colorScheme, reducedMotion: 'reduce'});
}

point('without motion nothing moves', async (page) => {
    const durations = await page.locator('.bay, .volume').evaluateAll(
        (nodes) => [...new Set(nodes.map((node) => getComputedStyle(node).transitionDuration))]);
    assert.deepEqual(durations, ['0s']);
}, {reducedMotion: 'reduce'});

together('pointing');
