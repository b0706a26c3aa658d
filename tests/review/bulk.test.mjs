import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ConflictType } from './support/Practice.mjs';
import { openBench } from './support/Review.mjs';

const { practice, review, browser, page } = await openBench('laptop');
const { office, laptop } = practice;

const kRows = 500;
const kTimes = 6;

const open = (query = '') => page.goto(review.address + query);
const press = (name) => page.getByRole('button', { name, exact: true }).click();
const check = (name) => page.getByLabel(`Check ${name}`, { exact: true }).check();
const changed = (key, more = {}) =>
    practice.conflict(laptop, { key, office: 'set at the office', laptop: 'set at the laptop', ...more });
const counts = async () => Object.fromEntries(await page.locator('.counts div').evaluateAll((facts) =>
    facts.map((fact) => [fact.firstChild.textContent, Number(fact.lastChild.textContent)])));

test('checked rows are decided after a page has counted them and named what is lost', async () => {
    const alpha = changed('Alpha');
    const deleted = changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    const fresh = changed('New here', { type: ConflictType.newOnDestination, office: null });
    const other = changed('Other');
    await open();
    for (const name of ['Alpha', 'Deleted', 'New here']) await check(name);
    await press('Use source…');
    assert.equal(await page.textContent('h1'), 'Use the source for 3 rows?');
    assert.deepEqual(await counts(), { overwritten: 1, deleted: 1, kept: 0, waiting: 1, dismissed: 0 });
    const [overwrittenRows, deletedRows, waitingRows] = await page.locator('.long').allTextContents();
    assert.match(overwrittenRows, /Alpha shortcut.*item_text.*set at the office.*set at the laptop/s);
    assert.match(deletedRows, /Deleted shortcut.*item_name\(no row\)review.*item_text\(no row\)set at the laptop/s);
    assert.match(waitingRows, /New here shortcut: Not possible: .*no row of the source/);
    assert.equal(laptop.shortcutText(alpha.row), 'set at the laptop');
    assert.equal(laptop.hasShortcut(deleted.row), true);
    await browser.views('bulk-confirm');
    await press('Do it');
    assert.equal(await page.locator('[role=status] p').count(), 2);
    assert.match(await page.textContent('[role=status]'),
        /Alpha: the source's row was copied over.*Deleted: the row was deleted at the destination\./s);
    assert.match(await page.textContent('[role=alert]'), /^New here: Not possible: /);
    assert.equal(laptop.shortcutText(alpha.row), 'set at the office');
    assert.equal(laptop.hasShortcut(deleted.row), false);
    assert.deepEqual([alpha, deleted, fresh, other].map((conflict) => laptop.waits(conflict)),
        [false, false, true, true]);
    assert.equal(laptop.shortcutText(other.row), 'set at the laptop');
});

test('all that are shown are those that fit the filter', async () => {
    const [first, second] = [changed('Recall 1'), changed('Recall 2')];
    const other = changed('Other');
    await open('?text=recall');
    await page.getByLabel('Apply to all 2 shown').check();
    await press('Use destination…');
    assert.deepEqual(await counts(), { overwritten: 0, deleted: 0, kept: 2, waiting: 0, dismissed: 0 });
    await press('Do it');
    await page.getByText('No conflict fits the filter.').waitFor();
    assert.deepEqual([first, second, other].map((conflict) => laptop.waits(conflict)), [false, false, true]);
});

test('one checked row is confirmed too, and none is told', async () => {
    const conflict = changed('Alpha');
    await open();
    await press('Use source…');
    assert.match(await page.textContent('[role=alert]'), /No row is checked\. Nothing was done\./);
    await check('Alpha');
    await press('Use source…');
    assert.equal(await page.textContent('h1'), 'Use the source for 1 row?');
    assert.equal(laptop.waits(conflict), true);
    await page.getByRole('link', { name: 'Back to the list' }).click();
    assert.equal(await page.textContent('h2'), 'Alpha');
});

test('nothing is done when a row changed, or was decided, before it was confirmed', async () => {
    const [alpha, beta] = [changed('Alpha'), changed('Beta')];
    const ask = async () => {
        await open();
        await page.getByLabel('Apply to all 2 shown').check();
        await press('Use source…');
    };
    await ask();
    laptop.sql(`update shortcut set item_text = 'typed in now' where unid = '${beta.row}'`);
    await press('Do it');
    assert.match(await page.textContent('[role=alert]'),
        /^The rows are no longer as they were shown\. Nothing was done\./);
    assert.equal(laptop.shortcutText(alpha.row), 'set at the laptop');
    assert.equal(laptop.shortcutText(beta.row), 'typed in now');
    await ask();
    laptop.sql(`delete from replication_conflict where unid = '${alpha.id}'`);
    await press('Do it');
    assert.match(await page.textContent('[role=alert]'), /somebody else has decided it\. Nothing was done\./);
    assert.equal(laptop.shortcutText(alpha.row), 'set at the laptop');
    assert.equal(laptop.waits(beta), true);
});

test('a confirmation is good once, and not beside another decision', async () => {
    const conflict = changed('Alpha');
    await open();
    await check('Alpha');
    await press('Use source…');
    const plan = await page.locator('[name=plan]').inputValue();
    const again = () => review.post('confirm', { plan });
    await open();
    await check('Alpha');
    await press('Use destination…');
    assert.equal((await again()).status, 303);
    assert.equal(laptop.waits(conflict), true);
    await press('Do it');
    await page.getByText('This was confirmed before, or another decision was begun since.').waitFor();
    assert.equal(laptop.waits(conflict), false);
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
    assert.equal((await review.post('confirm', {})).status, 303);
});

test('500 rows of six records each are listed, filtered and decided together', async (t) => {
    practice.manyConflicts(laptop, kRows, kTimes);
    const timed = async (step, action) => {
        const begin = performance.now();
        await action();
        t.diagnostic(`${step}: ${Math.round(performance.now() - begin)} ms`);
    };
    await timed('list', open);
    assert.equal(await page.locator('nav li').count(), kRows);
    assert.match(await page.locator('nav li').first().textContent(), /Row 001.*found 6 times/);
    await browser.views('bulk-large');
    await timed('show row 400', () => page.getByRole('link', { name: 'Row 400' }).click());
    assert.equal(await page.textContent('h2'), 'Row 400');
    const [list, entry] = await Promise.all([page.locator('nav').boundingBox(),
        page.locator('[aria-current]').boundingBox()]);
    const below = entry.y - list.y;
    assert.ok(below > -1 && below + entry.height < list.height + 1, `the shown row is ${below} pixels down the list`);
    await timed('filter', () => open('?text=row+1&before=2026-12-31'));
    assert.equal(await page.locator('nav li').count(), 100);
    await timed('decide one', () => press('Use source'));
    await page.getByText('Row 100: the source\'s row was copied').waitFor();
    await open();
    await page.getByLabel(`Apply to all ${kRows - 1} shown`).check();
    await timed('ask', () => press('Use source…'));
    assert.equal((await counts()).overwritten, kRows - 1);
    assert.equal(await page.locator('.long tbody').count(), kRows - 1);
    await timed('carry out', () => press('Do it'));
    await page.getByText('No conflicts wait.').waitFor();
    assert.equal(laptop.sql("select count(*) from shortcut where item_text like 'set at the office %'"), String(kRows));
    assert.equal(laptop.sql('select count(*) from replication_conflict_data'), '0');
    practice.clear();
    practice.manyConflicts(laptop, kRows, kTimes);
    await open();
    await page.getByLabel(`Apply to all ${kRows} shown`).check();
    await press('Dismiss…');
    await page.getByLabel('Reason').fill('all of them are known');
    await timed('dismiss all', () => press('Do it'));
    await page.getByText('No conflicts wait.').waitFor();
    assert.equal(laptop.sql('select count(*) from replication_conflict_data'), '0');
});

test('every one of 500 rows can be checked by itself', async () => {
    practice.manyConflicts(laptop, kRows, 1);
    await open();
    await page.locator('nav [type=checkbox]').evaluateAll((boxes) => boxes.forEach((box) => { box.checked = true; }));
    await press('Use destination…');
    assert.equal((await counts()).kept, kRows);
});
