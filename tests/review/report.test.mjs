import assert from 'node:assert/strict';
import { after, before, beforeEach, test } from 'node:test';
import { Practice } from './support/Practice.mjs';
import { Browser, report } from './support/Review.mjs';

const kShortcuts = '[[table]]\nname = "shortcut"\nmethod = "one_way"\n';
const practice = new Practice();
const { office, laptop } = practice;
let browser;
let page;

before(async () => {
    browser = await Browser.start();
    page = browser.page;
});
after(async () => {
    await browser?.stop();
    practice.clear();
});
beforeEach(() => practice.clear());

const cells = () => page.locator('tbody tr').first().locator('td').allTextContents();

test('a run that copied a row tells its counters and that all was done', async () => {
    office.addShortcut('6d0a8a50-0f5c-4a5e-8f3c-5a4f0a1f0001', 'new');
    const { status, address } = await report('done', kShortcuts);
    assert.equal(status, 0);
    await page.goto(address);
    assert.equal(await page.textContent('h1'), 'Replication run');
    assert.deepEqual(await cells(), ['shortcut', 'one_way', '1', '0', '0', '0', '0', '0', '0']);
    assert.match(await page.textContent('.notice'), /Everything was done, without conflicts or errors\./);
    assert.equal(await page.locator('.trouble').count(), 0);
    await browser.screenshot('report-done');
});

test('a conflict stands out and where to look is said', async () => {
    const unid = '6d0a8a50-0f5c-4a5e-8f3c-5a4f0a1f0002';
    office.addShortcut(unid, 'set at the office');
    laptop.addShortcut(unid, 'set at the laptop');
    // Clearly after the last run, which may be of this very second.
    office.sql(`update shortcut set mod_date = now() + interval '1 hour' where unid = '${unid}'`);
    laptop.sql(`update shortcut set mod_date = now() + interval '2 hours' where unid = '${unid}'`);
    const { status, address } = await report('conflict', kShortcuts);
    assert.equal(status, 2);
    await page.goto(address);
    assert.deepEqual(await cells(), ['shortcut', 'one_way', '0', '0', '0', '0', '0', '1', '0']);
    assert.deepEqual(await page.locator('td.alarm').allTextContents(), ['1']);
    assert.deepEqual((await page.locator('.trouble').allTextContents()).slice(-2), ['Conflicts: 1, errors: 0.',
        'Conflicts that wait: 1, new: 1. Look at them with quinrep review.']);
    await browser.screenshot('report-conflict');
});

test('a failed run shows its error and what was not done; text stays text', async () => {
    const tables = '[[table]]\nname = "<b>no</b>"\nmethod = "one_way"\n';
    const { status, address } = await report('failed', tables, '--force');
    assert.equal(status, 1);
    await page.goto(address);
    const [failure, notDone] = await page.locator('.trouble').allTextContents();
    assert.match(failure, /The run failed: -\d+ \(0x[0-9A-F]{8}\) .*<b>no<\/b>/s);
    assert.match(notDone, /Not done: <b>no<\/b>/);
    assert.equal(await page.locator('b').count(), 0);
    await browser.screenshot('report-failed');
});

test('a run that the guard stopped names the tables', async () => {
    laptop.addShortcut('6d0a8a50-0f5c-4a5e-8f3c-5a4f0a1f0003', 'only here');
    const tables = '[[table]]\nname = "shortcut"\nmethod = "full_copy"\nmax_delete = 0\n';
    const { status, address } = await report('guard', tables);
    assert.equal(status, 7);
    await page.goto(address);
    assert.match(await page.textContent('.trouble'), /Nothing was written: the run stopped before it began\./);
    assert.equal(await page.textContent('h2'), 'shortcut');
    assert.match(await page.textContent('section'), /1 of 1 rows of the destination would be deleted.*review/s);
    assert.equal(laptop.hasShortcut('6d0a8a50-0f5c-4a5e-8f3c-5a4f0a1f0003'), true);
    await browser.screenshot('report-guard');
});

test('the page is one file', async () => {
    const { address } = await report('one-file', kShortcuts);
    browser.requests.length = 0;
    await page.goto(address);
    assert.deepEqual(browser.requests, [address]);
});
