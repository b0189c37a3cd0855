// The page follows the hardware by itself, and knows when it cannot.
import assert from 'node:assert/strict';
import {eventually, focusedLabel, lettersOf, sample, show, together} from './harness.js';

const letters = () => [...document.querySelectorAll('.bay .letter')].map((node) => node.textContent || '-').join('');

const follow = (name, use) => show(name, sample('rack-server'), use);

follow('a disk fails while the page is open', async (page, server) => {
    const bay = page.getByRole('button', {name: 'Slot 4,'});
    await bay.focus();
    await server.change(({controllers: [controller]}) => {
        controller.disks[4].status = 'failed';
        controller.volumes[1].status = 'degraded';
    });
    await eventually(page, letters, 'OOOOFOOS');
    await page.locator('.volume', {hasText: '▲1 dataDEGRADED'}).waitFor();
    await eventually(page, () => [...document.querySelectorAll('.change')].map((change) => change.innerText).sort(),
        ['Disk in slot 4 of enclosure 252 on c0 ONLINE → FAILED', 'Volume 1 “data” on c0 OPTIMAL → DEGRADED']);
    assert.match(await page.locator('.moment time').first().innerText(), /^\d{4}-\d\d-\d\d [:\d]{8} [-+][:\d]{5}$/);
    // Both, whether they were noticed in one look or in two.
    await eventually(page, () => [...document.querySelectorAll('.finding .name')].map((name) => name.innerText),
        ['Disk in slot 4 of enclosure 252 on c0', 'Volume 1 “data” on c0']);
    assert.match(await page.locator('#news').textContent(), /ONLINE to FAILED|OPTIMAL to DEGRADED/); // read out
    assert.match(await page.title(), /^\(2\) /);
    // The focus has stayed.
    assert.equal(await focusedLabel(page), 'Slot 4, FAILED, 838.36 GiB, in volume data');
});

follow('a pulled disk leaves its bay, a new one gets one', async (page, server) => {
    await server.change(({controllers: [controller]}) => controller.disks.splice(7, 1));
    await eventually(page, letters, 'OOOOOOO-');
    assert.match(await page.locator('.change').first().innerText(), /^Disk in slot 7 of enclosure 252 on c0 removed/);
    await server.change(({controllers: [controller]}) => {
        controller.enclosures[0].slots = 10;
        controller.disks.push({enclosure: '252', slot: 9, pool: 'free', size: '900GB', status: 'unconfigured good'});
    });
    await eventually(page, letters, 'OOOOOOO--U');
    assert.match(await page.locator('.change').first().innerText(), /^Disk in slot 9 .* appeared UNCONFIGURED GOOD$/);
});

const findings = () => [...document.querySelectorAll('.finding .name')].map((name) => name.innerText);

follow('what is gone needs a look until it is acknowledged', async (page, server) => {
    await server.change(({controllers: [controller]}) => controller.disks.splice(0, 8));
    await eventually(page, findings,
        ['Volume 0 “boot” on c0', 'Volume 1 “data” on c0', 'Enclosure 252 on c0']);
    assert.match(await page.locator('.finding .state').last().innerText(), /^gone since .*, with 8 disks$/);
    const many = page.getByRole('button', {name: '8 disks of enclosure 252 on c0'}); // one event
    assert.equal(await page.getByRole('link', {name: /^Disk in slot/}).count(), 0);
    await many.click();
    assert.equal(await page.getByRole('link', {name: /^Disk in slot/}).count(), 8);

    await page.getByRole('button', {name: 'Acknowledge'}).click();
    assert.deepEqual(await page.evaluate(findings), ['Volume 0 “boot” on c0', 'Volume 1 “data” on c0']);
    await page.reload(); // remembered
    await eventually(page, findings, ['Volume 0 “boot” on c0', 'Volume 1 “data” on c0']);
    await page.getByRole('button', {name: 'Undo'}).click();
    assert.deepEqual((await page.evaluate(findings)).at(-1), 'Enclosure 252 on c0');
    await page.evaluate(() => Object.defineProperty(window, 'localStorage', {get() { throw new Error('refused'); }}));
    await page.getByRole('button', {name: 'Acknowledge'}).click();
    assert.equal((await page.evaluate(findings)).length, 2);

    await server.change((description) => { // the provider keeps a controller that no longer answers
        description.controllers = [];
    });
    await page.getByText('no devices known').first().waitFor();
    assert.equal((await page.evaluate(findings)).at(-1), 'Controller c0'); // UNKNOWN, after all that is gone
});

follow('a hardware file that is rejected is announced until it is read again', async (page, server) => {
    await server.change((description) => {
        description.controllers[0].disks[0].slot = 'nowhere';
    });
    const alert = page.getByRole('alert');
    await alert.waitFor();
    assert.match(await alert.innerText(),
        /^The hardware .* since .*hardware\.json:\d+: .*\. Shown is what it said before\.$/);
    assert.equal(await page.evaluate(letters), 'OOOOOOOS');
    await server.change((description) => {
        description.controllers[0].disks[0].slot = 0;
    });
    await alert.waitFor({state: 'hidden'});
});

follow('hardware that stays the same costs nothing', async (page, server) => {
    const answered = () => page.waitForResponse('**/api/inventory');
    await answered();
    await page.evaluate(() => {
        window.touched = [];
        new MutationObserver((records) => {
            for (const {target} of records) {
                const at = target.nodeType === Node.TEXT_NODE ? target.parentElement : target;
                if (!at.closest('#age')) window.touched.push(at.outerHTML.slice(0, 80));
            }
        }).observe(document.body, {subtree: true, childList: true, characterData: true, attributes: true});
    });
    for (let i = 0; i < 2; ++i) assert.equal((await answered()).status(), 304);
    assert.deepEqual(await page.evaluate(() => window.touched), []);
});

follow('the server goes away and comes back', async (page, server) => {
    await server.stop();
    const notice = page.getByRole('alert');
    await notice.waitFor();
    assert.match(await notice.innerText(), /^The server has not answered since .*\. Shown is what was read last\.$/);
    assert.equal(await lettersOf(page, '252'), 'OOOOOOOS'); // still shown
    const age = await page.locator('#age').innerText();
    await page.waitForFunction((then) => parseInt(document.getElementById('age').innerText.slice(5)) > then,
        parseInt(age.slice(5))); // and getting old

    server.description.controllers[0].disks[2].status = 'failed';
    await server.start();
    await notice.waitFor({state: 'hidden'});
    await eventually(page, letters, 'OOFOOOOS');
    await server.change(({controllers: [controller]}) => {
        controller.disks[2].status = 'online';
    });
    await eventually(page, letters, 'OOOOOOOS');
});

follow('a server that cannot read the hardware says why', async (page, server) => {
    await page.route('**/api/inventory', (route) => route.fulfill({status: 503, body: '<b>libX.so</b>: no file\n'}));
    const notice = page.getByRole('alert');
    await notice.waitFor();
    assert.equal(await notice.innerText(),
        'The server answers, but cannot show the hardware: <b>libX.so</b>: no file. Shown is what was read last.');
    await page.unroute('**/api/inventory');
    await notice.waitFor({state: 'hidden'});
});

together('following');
