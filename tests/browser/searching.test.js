// A search, chips and folds narrow what is shown, and say so; the details of a thing have an address.
import assert from 'node:assert/strict';
import {eightControllers, eventually, focusedLabel, sample, show, together} from './harness.js';

const cases = [ // words, chips, and how many of 115 have them
    ['k5b0', [], 21], // a fact
    ['ZBRPORT', [], 20], // a property
    ['  slot 18 enclosure   34 ', [], 1],
    ['c0/32:13', [], 1],
    ['', ['6 WARNING', '84 disks'], 3],
    ['', ['1 offline', '1 failed', '2 CRITICAL'], 2],
    ['c1', ['4 optimal'], 2],
    ['nothing has this', [], 0],
];

show('words and chips narrow what is shown', sample('storage-node'), async (page) => {
    const shown = page.locator('#shown');
    for (const [words, chips, count] of cases) {
        await page.getByLabel('Search').fill(words);
        for (const chip of chips) await page.getByRole('button', {name: chip}).click();
        assert.equal(await shown.innerText(), `${count} of 115 shown`);
        assert.equal(await page.locator('button.thing:not(.dimmed):visible').count(), count);
        assert.equal(await page.locator('.finding:visible').count(), 8); // what needs a look is never left out
        await page.getByRole('button', {name: 'Show all'}).click();
        assert.equal(await shown.innerText(), '');
    }
    for (const key of ['Tab', 'Home', 'ArrowRight', 'Enter']) await page.keyboard.press(key); // volumes
    assert.equal(await shown.innerText(), '7 of 115 shown');
    for (const key of ['Tab', 'End', 'Space']) await page.keyboard.press(key); // optimal
    assert.equal(await shown.innerText(), '4 of 115 shown');
    await page.keyboard.press('Escape');
    assert.equal(await shown.innerText(), '');
    await page.getByLabel('Search').fill('archive-b'); // Tab leads to what is shown, not to what it is the second of
    assert.equal(await page.locator('.volume:visible').getAttribute('tabindex'), '0');
});

const openOnes = () => [...document.querySelectorAll('.controller h2 button')]
    .filter((button) => button.ariaExpanded === 'true').map((button) => button.innerText);

show('healthy controllers fold, those with problems do not', eightControllers(), async (page, server) => {
    const headings = page.locator('.controller > .heading');
    assert.match((await headings.last().innerText()).replaceAll(/\s+/g, ' '),
        /^Controller c7 .* 60 disks, .* 71 OK Details/);
    const {bottom} = await headings.last().evaluate((node) => node.getBoundingClientRect());
    assert.ok(bottom < 900, `${bottom}`);
    assert.deepEqual(await page.evaluate(openOnes), []);
    await page.getByRole('button', {name: 'Controller c1'}).click();
    await server.change(({controllers}) => {
        controllers[2].disks[0].except = {3: {status: 'failed'}};
    });
    await eventually(page, openOnes, ['Controller c1', 'Controller c2']);
    await page.getByRole('button', {name: 'Controller c2'}).click();
    await server.change(({controllers}) => {
        controllers[2].disks[0].except = {4: {status: 'failed'}};
    });
    await page.locator('.change').nth(2).waitFor();
    assert.deepEqual(await page.evaluate(openOnes), ['Controller c1']); // what is folded by hand stays so
    await page.getByRole('link', {name: /Disk in slot 4 of enclosure A/}).first().click();
    assert.deepEqual(await page.evaluate(openOnes), ['Controller c1', 'Controller c2']); // unless it is led to
    await page.getByLabel('Search').fill('vault-5');
    assert.equal(await page.getByRole('button', {name: 'Volume 0 “vault-5”'}).isVisible(), true);
}, {viewport: {width: 1440, height: 900}});

function linked() {
    const description = sample('rack-server');
    description.controllers[0].disks.push({id: 'odd/50% é', pool: 'free', size: '900GB'});
    return description;
}

show('the details of a thing have an address', linked(), async (page) => {
    const panel = page.locator('#panel');
    const title = panel.locator('.title');
    const at = () => page.evaluate(() => location.hash);
    const becomes = (name) => eventually(page, () => document.querySelector('#panel .title').innerText, name);
    assert.equal(await title.innerText(), 'Disk odd/50% é on c0');
    assert.match(await panel.innerText(), /\nPrimordial\s+true\n/);
    await page.locator('.bay').nth(4).click();
    assert.equal(await at(), '#c0/252:4');
    assert.match(await panel.innerText(),
        /● OK, ONLINE\s[^]*\nfirmware\s+\w+[^]*\nvolumes\s+Volume 1[^]*\nDeviceID\s+zbrStorageExtc0_252:4\n/);
    await panel.getByRole('link', {name: 'Volume 1 “data”'}).click();
    assert.equal(await at(), '#c0/volume/1');
    await page.goBack();
    await page.goBack();
    await becomes('Disk odd/50% é on c0');
    await page.goForward();
    await becomes('Disk in slot 4 of enclosure 252 on c0');
    for (const [link, name] of [['#c0', 'Controller c0'], ['#c0/bbu0', 'Battery bbu0 on c0'], ['#c9/1', 'Not there'],
        ['#%', 'Not there']]) {
        await page.evaluate((hash) => {
            location.hash = hash;
        }, link);
        await becomes(name);
    }
    await page.locator('.ports button').first().click();
    await page.keyboard.press('Escape');
    assert.equal(await panel.isVisible(), false);
    assert.match(await focusedLabel(page), /^Port 0 on c0/); // where it was asked for

    await page.locator('.bay').first().click();
    const said = panel.getByRole('status');
    await panel.getByRole('button', {name: 'Copy'}).click();
    await said.getByText('Copied.').waitFor();
    assert.match(await page.evaluate(() => navigator.clipboard.readText()),
        /^Disk in slot 0 .*\nOK, ONLINE\nhttp:.*\/#c0\/252:0\ncontroller: c0\n[^]*\nSystemName: /);
    await page.evaluate(() => Object.defineProperty(navigator, 'clipboard', {value: undefined}));
    await panel.getByRole('button', {name: 'Copy'}).click();
    await said.getByText('press Ctrl+C').waitFor();
    assert.match(await page.evaluate(() => getSelection().toString()), /zbrStorageExtc0_252:0/);
}, {link: '#c0/odd%2F50%25%20%C3%A9', permissions: ['clipboard-read', 'clipboard-write']});

together('searching');
