// What the tests share: the server with its hardware and its clock, the browser, and pages that complain.
import assert from 'node:assert/strict';
import {spawn} from 'node:child_process';
import {mkdtempSync, readFileSync, renameSync, rmSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {createInterface} from 'node:readline';
import {after, before, describe, test} from 'node:test';
import {chromium} from 'playwright-core';

const root = new URL('../../', import.meta.url).pathname;
const serverProgram = process.env.PICTURE_SERVER ?? join(root, 'build/release/bin/picture_server');
const kRefreshInterval = 21; // seconds: past what the provider lets go by before it looks at the hardware again

// A sample of hardware/, as an object.
export const sample = (name) => JSON.parse(readFileSync(join(root, 'hardware', `${name}.json`), 'utf8'));

// Eight controllers of sixty disks each, all well.
export const eightControllers = () => ({
    controllers: Array.from({length: 8}, (_, number) => ({
        id: `c${number}`, model: 'Acme Anvil X960-16e', pools: [{id: 'dg0'}],
        software: [{kind: 'firmware', version: '4.86.00-1203'}, {kind: 'bundle', version: '24.9.1-0125'}],
        enclosures: ['A', 'B'].map((id) => ({id, slots: 30})),
        disks: ['A', 'B'].map((enclosure) => ({enclosure, slots: '0-29', pool: 'dg0', size: '18TB', status: 'online'})),
        volumes: [{id: '0', name: `vault-${number}`, raid: 'RAID60', pool: 'dg0', size: '500TB'}],
        ports: [{ids: '0-7', name: 'Port {id}', type: 'SAS'}],
        batteries: [{id: 'bbu0'}],
    })),
});

// `quarnel serve` with a hardware description that the test changes.
export class Server {
    #folder = mkdtempSync(join(tmpdir(), 'quarnel-browser-'));
    #program = null;
    #lines = null;
    port = 0;

    constructor(description) {
        this.description = description;
    }

    async start() {
        this.#save();
        // Again at the same port after the first time.
        const options = ['serve', '--port', String(this.port), '--hardware', join(this.#folder, 'hardware.json')];
        this.#program = spawn(serverProgram, options, {stdio: ['pipe', 'pipe', 'inherit']});
        this.#lines = createInterface({input: this.#program.stdout})[Symbol.asyncIterator]();
        const line = (await this.#lines.next()).value ?? '';
        this.port = Number(/:(\d+)/.exec(line)?.[1]);
        assert.ok(this.port > 0, `the server has not started: ${line}`);
        return this;
    }

    get url() {
        return `http://127.0.0.1:${this.port}/`;
    }

    // Changes the hardware; the provider may look at it with the next request.
    async change(change) {
        change(this.description);
        this.#save();
        this.#program.stdin.write(`${kRefreshInterval}\n`);
        assert.equal((await this.#lines.next()).value, String(kRefreshInterval));
    }

    async stop() {
        const ended = new Promise((resolve) => this.#program.once('exit', resolve));
        this.#program.stdin.end();
        assert.equal(await ended, 0);
    }

    async end() {
        if (this.#program !== null && this.#program.exitCode === null) await this.stop();
        rmSync(this.#folder, {recursive: true});
    }

    #save() {
        const file = join(this.#folder, 'hardware.json');
        writeFileSync(`${file}.new`, JSON.stringify(this.description));
        renameSync(`${file}.new`, file);
    }
}

export let browser;

export async function openBrowser() {
    // A fresh profile each time, and nothing that asks anybody but the server.
    browser = await chromium.launch({
        executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
        args: ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
            '--disable-background-networking', '--disable-component-update', '--disable-sync'],
    });
}

// A page that shows the server's picture. Its `complaints` are what must never happen: scripts that fail or do not
// belong there, dialogs, requests to anybody else, violations of the content policy.
export async function openPage(server, {first = '.controller', prepare = async () => {}, link = '', ...options} = {}) {
    const context = await browser.newContext({viewport: {width: 1400, height: 900}, ...options});
    const page = await context.newPage();
    page.complaints = [];
    const complain = (what) => page.complaints.push(what);
    page.on('pageerror', (error) => complain(`error: ${error.message}`));
    page.on('dialog', (dialog) => {
        complain(`dialog: ${dialog.message()}`);
        dialog.dismiss();
    });
    page.on('request', (request) => {
        if (!request.url().startsWith(server.url)) complain(`request: ${request.url()}`);
    });
    page.on('console', (message) => {
        // The browser's own words for a server that is gone are no complaint.
        if (message.type() === 'error' && !message.text().startsWith('Failed to load resource')) {
            complain(`console: ${message.text()}`);
        }
    });
    await prepare(page);
    await page.goto(server.url + link);
    await page.locator(first).first().waitFor();
    return page;
}

export async function closePage(page) {
    await page.context().close();
    assert.deepEqual(page.complaints, []);
}

// A server of its own for one test, and a page that shows it.
async function withPicture(description, use, options) {
    const server = await new Server(description).start();
    try {
        const page = await openPage(server, options);
        await use(page, server);
        await closePage(page);
    } finally {
        await server.end();
    }
}

const cases = [];

// Declares a test.
export const declare = (name, run) => cases.push([name, run]);

// Declares a test of a page over a description's hardware.
export const show = (name, description, use, options) => declare(name, () => withPicture(description, use, options));

// Runs what is declared. The tests mostly wait for servers and pages, and so wait together: no more than a server has
// connections for, as each page has six.
export function together(title) {
    describe(title, {concurrency: 4}, () => {
        before(openBrowser);
        after(() => browser.close());
        for (const [name, run] of cases) test(name, run);
    });
}

// Waits until `read`, evaluated in the page again and again, gives what is expected; the difference when it never does.
export async function eventually(page, read, expected, argument) {
    const deadline = Date.now() + 15000;
    let seen;
    do {
        seen = await page.evaluate(read, argument);
        if (JSON.stringify(seen) === JSON.stringify(expected)) return;
        await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(resolve)));
    } while (Date.now() < deadline);
    assert.deepEqual(seen, expected);
}

// The letters of an enclosure's bays, "-" for an empty one.
export const lettersOf = (page, enclosure) => page.locator('.enclosure', {
    has: page.getByRole('heading', {name: `Enclosure ${enclosure}`, exact: true}),
}).locator('.bay').evaluateAll((bays) => bays.map((bay) => bay.querySelector('.letter').textContent || '-').join(''));

// The slots of the bays that are lit, "enclosure:slot".
export const litBays = (page) => page.locator('.bay.lit').evaluateAll((bays) => bays.map((bay) => {
    const enclosure = bay.closest('.enclosure').querySelector('h3').textContent.replace('Enclosure ', '');
    return `${enclosure}:${bay.querySelector('.slot').textContent}`;
}));

// What a screen reader says of the thing that has the focus.
export const focusedLabel = (page) => page.evaluate(() => document.activeElement.querySelector('.unseen')?.textContent);
