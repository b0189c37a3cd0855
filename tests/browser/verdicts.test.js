// Each rule that hardware can come under, on the page: what every other view tells of the same.
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {show, together} from './harness.js';

const read = (name) => JSON.parse(readFileSync(new URL(`../support/${name}`, import.meta.url), 'utf8'));
const expected = Object.entries(read('verdicts.expected.json'));

const onPage = (name) => name.replace(/^(.)(\S*) (\w+)(?:\/(\w+))?$/, (all, first, kind, controller, device) => (
    device === undefined ? `${first.toUpperCase()}${kind} ${controller}`
        : `${first.toUpperCase()}${kind} ${device} on ${controller}`));

show('each thing has its verdict and the reason', read('verdicts.json'), async (page) => {
    const findings = await page.locator('.finding').evaluateAll((nodes) => nodes.map(
        (node) => [...node.querySelectorAll('span')].map((part) => part.textContent).slice(1).join(' ')));
    // The state stands before a reason that does not name it.
    const wanted = expected.filter(([, [verdict]]) => verdict !== 'OK').map(([name, [verdict, reason]]) => (
        new RegExp(`^${verdict} ${onPage(name)} ([A-Z]+, )?${reason.replace(/[()]/g, '\\$&')}$`)));
    assert.deepEqual(findings.filter((finding) => !wanted.some((each) => each.test(finding))), []);
    assert.equal(findings.length, wanted.length);
    const count = (wanted) => expected.filter(([, [verdict]]) => verdict === wanted).length;
    assert.deepEqual(await page.locator('header').getByRole('button').allInnerTexts(),
        ['CRITICAL', 'WARNING', 'UNKNOWN', 'OK'].map((verdict) => `${count(verdict)} ${verdict}`));
});

together('verdicts');
