// Several rows at once, after a page that counts and names them.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ConflictType } from './support/Practice.mjs';
import { assertFits, counts, laptop, notice, page, practice, press, reviewAt, trouble } from './support/browser.mjs';

const review = await reviewAt('laptop');
const open = (query = '') => page.goto(review.address + query);
const check = (name) => page.getByLabel(`Check ${name}`, { exact: true }).check();
const checkAll = (count) => page.getByLabel(`Apply to all ${count} shown`).check();
const changed = (key, more) => practice.conflict(laptop, key, more);
const kSetAtOffice = "select count(*) from shortcut where item_text like 'set at the office %'";

test('checked rows are decided after a page has counted them and named what is lost', async () => {
    const alpha = await changed('Alpha');
    const deleted = await changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    const fresh = await changed('New here', { type: ConflictType.newOnDestination, office: null });
    const other = await changed('Other');
    await open();
    for (const name of ['Alpha', 'Deleted', 'New here']) await check(name);
    await press('Use source…');
    assert.equal(await page.textContent('h1'), 'Use the source for 3 rows?');
    assert.deepEqual(await counts(), { overwritten: 1, deleted: 1, kept: 0, waiting: 1, dismissed: 0 });
    const [overwrittenRows, deletedRows, waitingRows] = await page.locator('.long').allTextContents();
    assert.match(overwrittenRows, /Alpha shortcut.*item_text.*set at the office.*set at the laptop/s);
    assert.match(deletedRows, /Deleted shortcut.*item_name\(no row\)review.*item_text\(no row\)set at the laptop/s);
    assert.match(waitingRows, /New here shortcut: Not possible: .*no row of the source/);
    assert.equal(await laptop.shortcutText(alpha.row), 'set at the laptop');
    assert.equal(await laptop.shortcutText(deleted.row), 'set at the laptop');
    await assertFits();
    await press('Do it');
    assert.match(await notice(),
        /Alpha: the source's row was copied over.*Deleted: the row was deleted at the destination\./s);
    assert.equal(await page.locator('[role=status] p').count(), 2);
    assert.match(await trouble(), /^New here: Not possible: /);
    assert.equal(await laptop.shortcutText(alpha.row), 'set at the office');
    assert.equal(await laptop.shortcutText(deleted.row), '');
    assert.equal(await laptop.shortcutText(other.row), 'set at the laptop');
    assert.equal(await laptop.waits(fresh), true);
    assert.deepEqual(await laptop.conflictCounts(), [2, 2]);
});

test('all that are shown are those that fit the filter; none is told, and one is confirmed too', async () => {
    const other = await changed('Other');
    await changed('Recall 1');
    await changed('Recall 2');
    await open('?text=recall');
    await press('Use source…');
    assert.match(await trouble(), /No row is checked\. Nothing was done\./);
    await check('Recall 1');
    await press('Use source…');
    assert.equal(await page.textContent('h1'), 'Use the source for 1 row?');
    await page.getByRole('link', { name: 'Back to the list' }).click();
    await checkAll(2);
    await press('Use destination…');
    assert.deepEqual(await counts(), { overwritten: 0, deleted: 0, kept: 2, waiting: 0, dismissed: 0 });
    await press('Do it');
    await page.getByText('No conflict fits the filter.').waitFor();
    assert.equal(await laptop.waits(other), true);
    assert.deepEqual(await laptop.conflictCounts(), [1, 1]);
});

test('nothing is done when a row changed, or was decided, before it was confirmed', async () => {
    const [alpha, beta] = [await changed('Alpha'), await changed('Beta')];
    const ask = async () => {
        await open();
        await checkAll(2);
        await press('Use source…');
    };
    await ask();
    await laptop.setText(beta.row, 'typed in now');
    await press('Do it');
    assert.match(await trouble(), /^The rows are no longer as they were shown\. Nothing was done\./);
    assert.equal(await laptop.shortcutText(beta.row), 'typed in now');
    await ask();
    await laptop.sql(`delete from replication_conflict where unid = '${alpha.id}'`);
    await press('Do it');
    assert.match(await trouble(), /somebody else has decided it\. Nothing was done\./);
    assert.equal(await laptop.shortcutText(alpha.row), 'set at the laptop');
    assert.equal(await laptop.waits(beta), true);
});

test('a confirmation is good once, and not beside another decision', async () => {
    const conflict = await changed('Alpha');
    const ask = async (choice) => {
        await open();
        await check('Alpha');
        await press(choice);
    };
    await ask('Use source…');
    const plan = await page.locator('[name=plan]').inputValue();
    await ask('Use destination…');
    assert.equal((await review.post('confirm', { plan })).status, 303);
    assert.equal(await laptop.waits(conflict), true);
    await press('Do it');
    await page.getByText('This was confirmed before, or another decision was begun since.').waitFor();
    assert.equal(await laptop.waits(conflict), false);
    assert.equal(await laptop.shortcutText(conflict.row), 'set at the laptop');
    assert.equal((await review.post('confirm', {})).status, 303);
});

test('500 rows of six records each are listed, filtered and decided together', async (t) => {
    const kRows = 500;
    const timed = async (step, action) => {
        const begin = performance.now();
        await action();
        t.diagnostic(`${step}: ${Math.round(performance.now() - begin)} ms`);
    };
    await practice.manyConflicts(laptop, kRows, 6);
    await timed('list', open);
    assert.equal(await page.locator('nav li').count(), kRows);
    await timed('show row 400', () => page.getByRole('link', { name: 'Row 400' }).click());
    assert.equal(await page.textContent('h2'), 'Row 400');
    const [list, entry] = await Promise.all([page.locator('nav').boundingBox(),
        page.locator('[aria-current]').boundingBox()]);
    const below = entry.y - list.y;
    assert.ok(below > -1 && below + entry.height < list.height + 1, `the shown row is ${below} pixels down the list`);
    await timed('filter', () => open('?text=row+1&before=2026-12-31'));
    assert.equal(await page.locator('nav li').count(), 100);
    await checkAll(100);
    await press('Use source…');
    assert.equal((await counts()).overwritten, 100);
    assert.equal(await page.locator('.long tbody').count(), 100);
    await timed('copy 100', () => press('Do it'));
    await page.getByText('No conflict fits the filter.').waitFor();
    assert.deepEqual(await laptop.sql(kSetAtOffice), [[100]]);
    await open();
    // Each by itself, which makes the longest form.
    await page.locator('nav [type=checkbox]').evaluateAll((boxes) => boxes.forEach((box) => { box.checked = true; }));
    await press('Dismiss…');
    assert.equal((await counts()).dismissed, 400);
    await page.getByLabel('Reason').fill('all of them are known');
    await timed('dismiss 400', () => press('Do it'));
    await page.getByText('No conflicts wait.').waitFor();
    assert.deepEqual(await laptop.conflictCounts(), [0, 0]);
});
