// The report of a run in the browser.
import assert from 'node:assert/strict';
import { randomUUID } from 'node:crypto';
import { appendFileSync, rmSync } from 'node:fs';
import { beforeEach, test } from 'node:test';
import { report } from './support/Review.mjs';
import { assertLooksRight, kPhone, laptop, office, page, practice, requests } from './support/browser.mjs';

const kShortcuts = '[[table]]\nname = "shortcut"\nmethod = "one_way"\n';
const kHistory = 'review-laptop.history.jsonl';
const kPastRun = { site: `1 ${process.env.QUINMARK_LAPTOP_DSN}`, took_ms: 4200, exit_code: 0, adds: 0, updates: 0,
    deletes: 0, source_adds: 0, source_updates: 0, source_deletes: 0, conflicts_new: 0, conflicts_waiting: 0,
    error: '' };

const heading = () => page.textContent('h1');
const cells = (row) => row.locator('th, td').allTextContents();
const changedTables = () => page.locator('.did tbody tr').all().then((rows) => Promise.all(rows.map(cells)));
const troubles = () => page.locator('.trouble').allTextContents();
const sums = () => page.locator('.sums div').allTextContents();

function addPastRuns(...runs) {
    for (const [index, run] of runs.entries()) {
        const began = `2026-11-${String(index + 1).padStart(2, '0')}T20:30:00Z`;
        appendFileSync(kHistory, `${JSON.stringify({ ...kPastRun, began, ended: began, ...run })}\n`);
    }
}

beforeEach(async () => {
    rmSync(kHistory, { force: true });
    await practice.onBoth('delete from users');
});

test('a run that copied rows says that all is well, what it did and where, in one file', async () => {
    await office.addShortcut(randomUUID(), 'new');
    const { status, address } = await report('done', `${kShortcuts}[[table]]\nname = "users"\nmethod = "one_way"\n`);
    assert.equal(status, 0);
    requests.length = 0;
    await page.goto(address);
    assert.deepEqual(requests, [address]);
    assert.equal(await heading(), 'The run went through');
    assert.equal(await page.textContent('.notice'), 'Everything was done, and nothing waits for a decision.');
    assert.deepEqual(await troubles(), []);
    assert.deepEqual(await sums(), ['At this laptop1 added, 0 changed, 0 deleted']);
    assert.deepEqual(await changedTables(), [['shortcut', '1']]);
    assert.match(await page.textContent('header'), new RegExp('^The run went throughBegan20..-..-.. ..:..' +
        'Took[0-9.]+ sComputer\\S+Database of this laptop\\w+Database of the office\\w+Changes since'));
    await assertLooksRight('report-done');
});

test('tables without changes are folded, and unfolded on paper', async () => {
    await office.addShortcut(randomUUID(), 'new');
    const { address } = await report('print', `${kShortcuts}[[table]]\nname = "users"\nmethod = "one_way"\n`);
    await page.goto(address);
    const unchanged = page.locator('details', { hasText: '1 table without changes' }).locator('p');
    assert.equal(await unchanged.isVisible(), false);
    await page.getByText('1 table without changes').click();
    assert.equal(await unchanged.textContent(), 'users');
    assert.equal(await unchanged.isVisible(), true);
    await page.reload();
    await page.emulateMedia({ media: 'print' });
    assert.equal(await unchanged.isVisible(), true);
    await page.screenshot({ path: 'pictures/report-print.png', fullPage: true });
    await page.emulateMedia({ media: null });
});

test('rows that both sides changed are the first thing to be read', async () => {
    const unid = randomUUID();
    // Clearly after the last run, which may be of this very second.
    await office.addShortcut(unid, 'set at the office', 1);
    await laptop.addShortcut(unid, 'set at the laptop', 2);
    const { status, address } = await report('conflict', kShortcuts);
    assert.equal(status, 2);
    await page.goto(address);
    assert.equal(await heading(), 'The run went through; 1 row waits for a decision');
    const [waiting] = await troubles();
    assert.match(waiting, /^1 row waits for a decision; new: 1\. A row that waits is left as it is .*quinrep review/);
    assert.deepEqual(await changedTables(), [['shortcut', '1']]);
    assert.deepEqual(await page.locator('td.alarm').allTextContents(), ['1']);
    await assertLooksRight('report-conflict');
});

test('on a phone each number of a table stands on a line with its name', async () => {
    for (const side of [office, laptop]) await side.addShortcut(randomUUID(), 'new');
    const { status, address } = await report('two-way', kShortcuts.replace('one_way', 'two_way'));
    assert.equal(status, 0);
    await page.goto(address);
    await page.setViewportSize(kPhone);
    const numbers = page.locator('.did td');
    assert.deepEqual(await numbers.evaluateAll((found) => found.map((cell) =>
        [getComputedStyle(cell, '::before').content, cell.textContent])),
    [['"Added at this laptop"', '1'], ['"Added at the office"', '1']]);
    const [first, second] = await Promise.all([numbers.nth(0).boundingBox(), numbers.nth(1).boundingBox()]);
    assert.ok(first.y + first.height <= second.y + 1);
    assert.ok(first.height < 40);
    await assertLooksRight('report-two-way');
});

test('a failed run shows its error and what was not done; text stays text', async () => {
    const tables = '[[table]]\nname = "<b>no</b>"\nmethod = "one_way"\n';
    const { status, address } = await report('failed', tables, '--force');
    assert.equal(status, 1);
    await page.goto(address);
    assert.equal(await heading(), 'The run failed');
    const [failure, afterwards] = await troubles();
    assert.match(failure, /^The reason, for the person who looks after the databases:-\d+ \(0x[0-9A-F]{8}\) /);
    assert.match(failure, /replicating table <b>no<\/b>/);
    assert.match(failure, /Not done: <b>no<\/b>What was copied before stays copied; a later run does the rest\./);
    assert.equal(afterwards,
        'No run begins until somebody has looked, and runs with quinrep run --ready --reset-error.');
    assert.equal(await page.locator('.trouble b').count(), 0);
    await assertLooksRight('report-failed');
});

test('a run that was stopped before it began names the tables and the rows', async () => {
    await laptop.addShortcut(randomUUID(), 'only here');
    const { status, address } = await report('stopped',
        '[[table]]\nname = "shortcut"\nmethod = "full_copy"\nmax_delete = 0\n');
    assert.equal(status, 7);
    await page.goto(address);
    assert.equal(await heading(), 'The run did not begin');
    assert.equal((await troubles())[0], 'Nothing was written: the run stopped before it began.');
    assert.equal(await page.textContent('h2'), 'shortcut');
    assert.match(await page.textContent('section'), /1 of 1 rows of this laptop would be deleted.*review/s);
    assert.equal(await page.locator('.did').count(), 0);
    await assertLooksRight('report-stopped');
});

test('the last 30 runs are drawn, and told in a table, newest first', async () => {
    addPastRuns({ updates: 900 }, { adds: 40 }, { exit_code: 1, adds: null, error: '<i>lost</i>' },
        { exit_code: 2, adds: 5, conflicts_new: 2 }, ...Array(26).fill({ updates: 12, source_adds: 3 }));
    appendFileSync(kHistory, `${JSON.stringify({ site: kPastRun.site, began: '2026-11-30T20:30:00Z' }).slice(0, -1)}`);
    const { address } = await report('chart', kShortcuts);
    await page.goto(address);
    const chart = page.getByRole('img', { name: 'The last 30 runs, oldest first; the table below says the same' });
    assert.equal(await chart.locator('g').count(), 30);
    assert.equal(await chart.locator('.fault').count(), 2);
    assert.equal(await chart.locator('.waits').count(), 1);
    const heights = await chart.locator('rect').evaluateAll((bars) => bars.map((bar) => bar.getAttribute('height')));
    assert.deepEqual([heights.length, heights[0], heights[1], heights.at(-1)], [28, '55', '96', '1']);
    await page.getByText('The same as a table').click();
    const rows = await Promise.all((await page.locator('.runs tbody tr').all()).map(cells));
    assert.equal(rows.length, 30);
    assert.deepEqual(rows.map(([, result]) => result).filter((result) => result !== 'went through'),
        ['was broken off', 'went through, with conflicts', 'failed<i>lost</i>']);
    assert.deepEqual(rows[28].slice(2), ['5', '2']);
    await assertLooksRight('report-chart');
});
