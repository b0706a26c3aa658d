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
    await press('Use the office\'s…');
    assert.equal(await page.textContent('h1'), 'Use the office\'s for 3 rows?');
    assert.deepEqual(await counts(), { overwritten: 1, deleted: 1, kept: 0, waiting: 1, dismissed: 0 });
    const [deletedRows, overwrittenRows, waitingRows] = await page.locator('.long').allTextContents();
    assert.match(overwrittenRows, /Alpha shortcut.*item_text.*set at the office.*set at the laptop/s);
    assert.match(deletedRows, /Deleted shortcut.*item_name\(no row\)review.*item_text\(no row\)set at the laptop/s);
    assert.match(waitingRows, /New here shortcut: Not possible: .*no row of the office/);
    assert.equal(await laptop.shortcutText(alpha.row), 'set at the laptop');
    assert.equal(await laptop.shortcutText(deleted.row), 'set at the laptop');
    await assertFits();
    await press('Do it and delete 1 row');
    assert.match(await notice(),
        /Alpha: the office's row was copied over.*Deleted: the row was deleted at this laptop\./s);
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
    await press('Use the office\'s…');
    assert.match(await trouble(), /No row is checked\. Nothing was done\./);
    await check('Recall 1');
    await press('Use the office\'s…');
    assert.equal(await page.textContent('h1'), 'Use the office\'s for 1 row?');
    await page.getByRole('link', { name: 'Back to the list' }).click();
    await checkAll(2);
    await press('Use this laptop\'s…');
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
        await press('Use the office\'s…');
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
    await ask('Use the office\'s…');
    const plan = await page.locator('[name=plan]').inputValue();
    await ask('Use this laptop\'s…');
    assert.equal((await review.post('confirm', { plan })).status, 303);
    assert.equal(await laptop.waits(conflict), true);
    await press('Do it');
    await page.getByText('This was confirmed before, or another decision was begun since.').waitFor();
    assert.equal(await laptop.waits(conflict), false);
    assert.equal(await laptop.shortcutText(conflict.row), 'set at the laptop');
    assert.equal((await review.post('confirm', {})).status, 303);
});

test('500 rows of six records each are shown by fifties, filtered and decided together', async (t) => {
    const kRows = 500;
    const timed = async (step, action) => {
        const begin = performance.now();
        await action();
        t.diagnostic(`${step}: ${Math.round(performance.now() - begin)} ms`);
    };
    const selected = () => page.textContent('h2#selected');
    const selectedInView = async () => {
        const [list, entry] = await Promise.all([page.locator('nav').boundingBox(),
            page.locator('[aria-current]').boundingBox()]);
        const below = entry.y - list.y;
        return below > -1 && below + entry.height < list.height + 1;
    };
    const animationsEnd = () => page.evaluate(() =>
        Promise.all(document.getAnimations().map((animation) => animation.finished)));
    const assertSelectedInView = async () => {
        assert.equal(await selectedInView(), true);
        await animationsEnd();
        assert.equal(await selectedInView(), true);
    };
    await practice.manyConflicts(laptop, kRows, 6);
    await timed('list', open);
    assert.equal(await page.textContent('h2#list'), 'Rows 1 to 50 of 500');
    assert.equal(await page.locator('nav li').count(), 50);
    assert.ok((await page.content()).length < 60000, 'the page is small');
    await timed('next group', () => page.getByRole('link', { name: 'Next 50' }).click());
    assert.equal(await selected(), 'Row 051');
    await page.getByRole('link', { name: 'Last', exact: true }).click();
    assert.equal(await page.textContent('h2#list'), 'Rows 451 to 500 of 500');
    await timed('show row 490', () => page.getByRole('link', { name: 'Row 490' }).click());
    assert.equal(await selected(), 'Row 490');
    await assertSelectedInView();
    await page.locator('nav').evaluate((list) => list.scrollTo(0, 0));
    assert.equal(await selectedInView(), false, 'the list scrolls freely');
    await timed('decide row 490', () => press('Use the office\'s'));
    await page.getByText('Row 490: the office\'s row was copied').waitFor();
    assert.equal(await selected(), 'Row 491');
    await assertSelectedInView();
    await page.getByLabel('Apply to all 49 shown').check();
    await press('Use this laptop\'s…');
    assert.equal((await counts()).kept, 49);
    await press('Do it');
    await page.getByText('Row 500: this laptop\'s row was left').waitFor();
    assert.equal(await page.textContent('h2#list'), 'Rows 401 to 450 of 450');
    assert.equal(await selected(), 'Row 450');
    await assertSelectedInView();
    await timed('filter', () => open('?text=row+1&before=2026-12-31'));
    assert.equal(await page.textContent('h2#list'), 'Rows 1 to 50 of 100');
    await page.getByLabel('Apply to all 100 that were found, shown or not').check();
    await press('Use the office\'s…');
    assert.equal((await counts()).overwritten, 100);
    assert.equal(await page.locator('.long tbody').count(), 100);
    await timed('copy 100', () => press('Do it'));
    await page.getByText('No conflict fits the filter.').waitFor();
    assert.deepEqual(await laptop.sql(kSetAtOffice), [[101]]);
    await open();
    const all = page.getByLabel('Apply to all 350 that were found, shown or not');
    await all.check();
    await changed('Came meanwhile');
    await press('Dismiss…');
    assert.match(await trouble(), /^The list has changed since it was shown: 351 rows are in it, not 350\./);
    assert.equal((await counts()).dismissed, 351);
    await page.getByLabel('Reason').fill('all of them are known');
    await timed('dismiss 351', () => press('Do it'));
    await page.getByText('No conflicts wait.').waitFor();
    assert.deepEqual(await laptop.conflictCounts(), [0, 0]);
});
