// The report of a run in the browser.
import assert from 'node:assert/strict';
import { randomUUID } from 'node:crypto';
import { test } from 'node:test';
import { report } from './support/Review.mjs';
import { laptop, office, page, requests } from './support/browser.mjs';

const kShortcuts = '[[table]]\nname = "shortcut"\nmethod = "one_way"\n';
const cells = () => page.locator('tbody tr').first().locator('td').allTextContents();
const troubles = () => page.locator('.trouble').allTextContents();

test('a run that copied a row tells its counters and that all was done, in one file', async () => {
    await office.addShortcut(randomUUID(), 'new');
    const { status, address } = await report('done', kShortcuts);
    assert.equal(status, 0);
    requests.length = 0;
    await page.goto(address);
    assert.deepEqual(requests, [address]);
    assert.equal(await page.textContent('h1'), 'Replication run');
    assert.deepEqual(await cells(), ['shortcut', 'one_way', '1', '0', '0', '0', '0', '0', '0']);
    assert.match(await page.textContent('.notice'), /Everything was done, without conflicts or errors\./);
    assert.deepEqual(await troubles(), []);
});

test('a conflict stands out and where to look is said', async () => {
    const unid = randomUUID();
    // Clearly after the last run, which may be of this very second.
    await office.addShortcut(unid, 'set at the office', 1);
    await laptop.addShortcut(unid, 'set at the laptop', 2);
    const { status, address } = await report('conflict', kShortcuts);
    assert.equal(status, 2);
    await page.goto(address);
    assert.deepEqual(await cells(), ['shortcut', 'one_way', '0', '0', '0', '0', '0', '1', '0']);
    assert.deepEqual(await page.locator('td.alarm').allTextContents(), ['1']);
    assert.deepEqual((await troubles()).slice(-2), ['Conflicts: 1, errors: 0.',
        'Conflicts that wait: 1, new: 1. Look at them with quinrep review.']);
});

test('a failed run shows its error and what was not done; text stays text', async () => {
    const tables = '[[table]]\nname = "<b>no</b>"\nmethod = "one_way"\n';
    const { status, address } = await report('failed', tables, '--force');
    assert.equal(status, 1);
    await page.goto(address);
    const [failure, notDone] = await troubles();
    assert.match(failure, /The run failed: -\d+ \(0x[0-9A-F]{8}\) .*<b>no<\/b>/s);
    assert.match(notDone, /Not done: <b>no<\/b>/);
    assert.equal(await page.locator('b').count(), 0);
});

test('a run that was stopped before it began names the tables', async () => {
    await laptop.addShortcut(randomUUID(), 'only here');
    const { status, address } = await report('stopped',
        '[[table]]\nname = "shortcut"\nmethod = "full_copy"\nmax_delete = 0\n');
    assert.equal(status, 7);
    await page.goto(address);
    assert.match((await troubles())[0], /Nothing was written: the run stopped before it began\./);
    assert.equal(await page.textContent('h2'), 'shortcut');
    assert.match(await page.textContent('section'), /1 of 1 rows of the destination would be deleted.*review/s);
});
