// What is drawn of the samples, of odd hardware and of hostile texts.
import assert from 'node:assert/strict';
import {eventually, focusedLabel, lettersOf, sample, show, together} from './harness.js';

// What is to be seen of each, part by part.
const texts = (page, selector) => page.locator(selector).evaluateAll((nodes) => nodes.map((node) => {
    const parts = node.children.length > 0 ? [...node.children] : [node];
    const seen = parts.filter((part) => !part.matches('.unseen') && part.checkVisibility());
    return seen.map((part) => part.innerText.split('\n')[0]).filter((text) => text).join(' ');
}));

show('the rack server is drawn with all that it has', sample('rack-server'), async (page) => {
    assert.equal(await lettersOf(page, '252'), 'OOOOOOOS');
    assert.deepEqual(await texts(page, '.bay .slot'), ['0', '1', '2', '3', '4', '5', '6', '7']);
    assert.deepEqual(await texts(page, '.controller > .heading'), ['Controller c0 Acme Anvil R840-8i, '
        + 'package 24.7.0-0118, firmware 4.81.02-1176 2 volumes, 8 disks, 8 ports, 1 battery 20 OK Details']);
    assert.deepEqual(await texts(page, '.volume'), [
        '● 0 boot OPTIMAL RAID1, 837.25 GiB 2 disks: slots 0–1 of enclosure 252',
        '● 1 data OPTIMAL RAID5, 3.27 TiB 5 disks: slots 2–6 of enclosure 252']);
    assert.equal(await page.locator('.ports > li').count(), 8);
    assert.deepEqual(await texts(page, '.batteries .device'), ['● bbu0 Fully charged OK']);
    assert.deepEqual(await texts(page, '#verdicts > li'), ['20 OK']);
    assert.equal(await page.locator('#attention').isVisible(), false);
    assert.match(await page.locator('#quiet').innerText(), /^Nothing has changed since [-\d]{10} [:\d]{8} [-+][:\d]{5}\.$/);
    assert.match(await page.locator('#age').innerText(), /^Read \d s ago$/);
});

show('the storage node is drawn with its troubles first', sample('storage-node'), async (page) => {
    assert.equal(await lettersOf(page, '32'), 'OOOOOOOOOOOOOFOOOOOO');
    assert.equal(await lettersOf(page, '33'), 'OOOOOROOOOOOOOOOOOSS');
    assert.equal(await lettersOf(page, '34'), 'OOOOOOUUUUUUUUUUUUBU');
    assert.equal(await lettersOf(page, '1'), 'OOOOOOOOOOOXOOOOSUUUUUUB');
    assert.deepEqual(await texts(page, '.finding > a'), [
        '✖ CRITICAL Disk in slot 13 of enclosure 32 on c0 FAILED',
        '✖ CRITICAL Disk in slot 12 of enclosure 1 on c1 OFFLINE',
        '▲ WARNING Volume 1 “archive-b” on c0 DEGRADED',
        '▲ WARNING Volume 2 “backup” on c0 DEGRADED',
        '▲ WARNING Volume C “db-log” on c1 DEGRADED',
        '▲ WARNING Disk in slot 5 of enclosure 33 on c0 REBUILD',
        '▲ WARNING Disk in slot 18 of enclosure 34 on c0 UNCONFIGURED BAD',
        '▲ WARNING Disk in slot 24 of enclosure 1 on c1 UNCONFIGURED BAD']);
    assert.deepEqual(await texts(page, '#verdicts > li'), ['2 CRITICAL', '6 WARNING', '107 OK']);
    assert.deepEqual(await texts(page, '.counts'), ['1 CRITICAL 4 WARNING 77 OK', '1 CRITICAL 2 WARNING 30 OK']);
    assert.deepEqual(await texts(page, '.volume .name'), ['0 archive-a', '1 archive-b', '2 backup', '3 scratch',
        'A system', 'B db', 'C db-log']);
    await page.getByRole('link', {name: /Disk in slot 13 of enclosure 32/}).click();
    assert.equal(await page.locator('.thing[aria-pressed=true] .unseen').textContent(),
        'Slot 13, FAILED, 7.28 TiB, in volume archive-b');
});

// One controller with what the page must cope with, straight into the page.
function inventoryWith({disks = [], volumes = [], controllers = ['c0'], ...more}) {
    const item = (kind, facts) => ({path: `${kind} ${facts.controller} ${facts.device ?? ''}`, properties: {}, facts});
    const disk = (facts) => item('disk', {controller: 'c0', state: 'ONLINE', verdict: 'OK', ...facts});
    const volume = ({members, ...facts}) => item('volume', {controller: 'c0', state: 'OPTIMAL', verdict: 'OK',
        membersCut: false, ...facts, members: members.map((device) => `disk c0 ${device}`)});
    return {
        time: '2026-01-05T10:02:11+01:00', age: 0, watchedSince: '2026-01-05T10:00:00+01:00', host: 'host', changes: [],
        Zembra_QuarnelController: controllers.map(
            (id) => item('controller', {controller: id, state: 'OK', verdict: 'OK'})),
        Zembra_QuarnelStorageExtent: disks.map(disk),
        Zembra_QuarnelStorageVolume: volumes.map(volume),
        ...more,
    };
}

const odd = inventoryWith({
    controllers: ['c0', 'c10', 'c2'],
    disks: [
        {device: 'a', enclosure: 'E', slot: '3'},
        {device: 'b', enclosure: 'E', slot: '5'},
        {device: 'twin', enclosure: 'E', slot: '5', state: 'FAILED', verdict: 'CRITICAL', reason: 'FAILED'},
        {device: 'c', enclosure: 'far', slot: '1'},
        {device: 'd', enclosure: 'far', slot: '999999999'},
        {device: 'e', enclosure: 'odd', slot: '-7', state: 'UNDEFINED', verdict: 'WARNING',
            reason: 'UNDEFINED (Stressed)'},
        {device: 'nvme10'},
        {device: 'nvme2', state: 'REBUILD', verdict: 'WARNING', reason: 'REBUILD'},
        {device: 'x', controller: 'lost', enclosure: 'E', slot: '0'},
    ],
    volumes: [
        {device: '0', name: 'cut', members: ['a', 'nvme2'], membersCut: true},
        {device: '1', members: ['nobody'], verdict: 'WARNING', reason: 'no disks known'},
        {device: '2', name: 'twice', members: ['a', 'b', 'twin']},
    ],
});

show('odd hardware is drawn as far as it is known', sample('rack-server'), async (page) => {
    assert.deepEqual(await texts(page, '.controller h2'),
        ['Controller c0', 'Controller c2', 'Controller c10', 'Controller lost']);
    assert.match((await texts(page, '.controller > .heading')).at(-1), /not in the answer/);
    const bays = await page.locator('.controller').first().locator('.bay .unseen').allTextContents();
    assert.deepEqual(bays, [
        'Slot 3, ONLINE, in volumes cut, twice', 'Slot 4, empty', // between two disks there is a bay
        'Slot 5, ONLINE, in volume twice', 'Slot 5, FAILED, in volume twice', // two that claim one slot
        'Slot 1, ONLINE', 'Slot 999999999, ONLINE', // no thousand million bays between
        'Slot -7, UNDEFINED (Stressed)',
    ]);
    assert.deepEqual(await texts(page, '.loose'), ['R nvme2', 'O nvme10']);
    assert.deepEqual(await texts(page, '.volume'), [
        '● 0 cut OPTIMAL 2 disks: slot 3 of enclosure E, disk nvme2 and more, which its caption has no room for',
        '▲ 1 OPTIMAL no disks known',
        '● 2 twice OPTIMAL 3 disks: slots 3, 5 of enclosure E']);
}, {prepare: (page) => page.route('**/api/inventory', (route) => route.fulfill({json: odd}))});

show('a server without controllers is not well', {controllers: []}, async (page) => {
    assert.match(await page.locator('#attention').innerText(), /^Needs a look\s+No controller is there\.$/);
    assert.deepEqual(await texts(page, '#verdicts > li'), []);
    assert.match(await page.title(), /^\(1\) /);
}, {first: '#no-controller'});

const sampled = {...inventoryWith({}), source: 'sample hardware'};

show('sample hardware is called that wherever the page is scrolled to', sample('storage-node'), async (page) => {
    assert.equal(await page.locator('#source').isVisible(), false); // it is a file's
    const source = page.getByText('This is sample hardware, not this machine’s');
    await page.route('**/api/inventory', (route) => route.fulfill({json: sampled}));
    await source.waitFor();
    assert.match(await page.title(), /sample hardware$/);
    await page.setViewportSize({width: 500, height: 300});
    await page.evaluate(() => window.scrollTo(0, document.body.scrollHeight));
    await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(resolve)));
    const {top, bottom} = await source.evaluate((node) => node.getBoundingClientRect());
    assert.ok(top >= 0 && bottom <= 300, `${top} to ${bottom}`);
});

const script = '<script>document.title="taken"</script>';
const image = '<img src=x onerror=alert(1)>';

function hostileServer() {
    const description = sample('rack-server');
    const [controller] = description.controllers;
    controller.model = script;
    controller.software = [{kind: 'firmware', version: image}];
    controller.volumes[0].name = script;
    controller.volumes[1].name = '"><b onmouseover=alert(2)>&amp;';
    Object.assign(controller.disks[0], {firmware: image});
    controller.disks.push({id: script, pool: 'free', size: '900GB'}, {id: image, pool: 'free', size: '900GB'});
    controller.enclosures.push({id: image, slots: 2});
    controller.disks.push({enclosure: image, slot: 0, pool: 'free', size: '900GB'});
    controller.ports[0].name = `${script}{id}`;
    return description;
}

show('texts from vendors are data', hostileServer(), async (page, server) => {
    assert.deepEqual((await texts(page, '.loose .name')).sort(), [image, script].sort());
    assert.ok((await texts(page, 'h3')).includes(`Enclosure ${image}`));
    assert.match((await texts(page, '.volume .name'))[0], /^0 <script>document\.title="taken"<\/script>$/);
    assert.equal((await texts(page, '.volume .name'))[1], '1 "><b onmouseover=alert(2)>&amp;');
    assert.ok((await texts(page, '.controller > .heading'))[0].includes(script));
    assert.equal((await texts(page, '.ports .name'))[0], `${script}0`);
    for (const thing of await page.locator('button.thing').all()) await thing.hover();
    await page.locator('.bay').first().focus();
    assert.ok((await page.locator('#tip').innerText()).includes(image));
    await page.locator('.bay').first().click();
    await page.locator('#panel').getByText(image, {exact: true}).waitFor();
    await server.change((hardware) => {
        hardware.controllers[0].volumes[1].name = script;
    });
    await page.locator('.change').waitFor();
    assert.ok((await texts(page, '.change'))[0].endsWith(`→ ${script}`));
    assert.equal(await page.locator('body script, body img, body b, body style').count(), 0);
    assert.match(await page.title(), /Quarnel$/);
});

show('nothing but the page’s own files and scripts would run', sample('rack-server'), async (page) => {
    await page.evaluate(() => {
        window.refused = [];
        document.addEventListener('securitypolicyviolation', (event) => window.refused.push(event.effectiveDirective));
        const inline = document.body.appendChild(document.createElement('script'));
        const image = new Image();
        image.src = 'data:image/gif;base64,R0lGODlhAQABAAAAACw=';
        document.body.append(image);
        document.body.setAttribute('style', 'color: red');
        fetch('http://127.0.0.1:1/').catch(() => {});
        inline.append('window.taken = 1');
        try {
            document.body.insertAdjacentHTML('beforeend', '<p>');
            window.refused.push('markup was not');
        } catch { /* as it should */ }
    });
    const expected = ['connect-src', 'img-src', 'require-trusted-types-for', 'style-src-attr'];
    await eventually(page, () => [...new Set(window.refused)].sort(), expected);
    assert.equal(await page.evaluate(() => window.taken), undefined);
    page.complaints.length = 0; // this test's own
});

together('drawing');
