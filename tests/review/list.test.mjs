// The page at the laptop: the list with its filters, and one conflict in detail.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ConflictType } from './support/Practice.mjs';
import { assertFits, laptop, office, page, practice, press, requests, reviewAt } from './support/browser.mjs';

const review = await reviewAt('laptop');
const open = (query = '') => page.goto(review.address + query);
const changed = (key, more) => practice.conflict(laptop, key, more);
const values = () => page.locator('.sides td').allTextContents();

test('the list tells of each row its table, kind, how often it was found and how it is today', async () => {
    await changed('Chart 7, Anna Beck', { table: 'chart_hdr' });
    await changed('Equal', { office: 'the same', laptop: 'the same' });
    const gone = await changed('Gone');
    await practice.onBoth(`delete from shortcut where unid = '${gone.row}'`);
    await changed('Recall', { found: ['2026-03-01 18:00', '2026-03-02 18:00', '2026-03-05 07:30'] });
    requests.length = 0;
    await open();
    assert.match(await page.textContent('header'), /4 waiting/);
    assert.deepEqual(await page.locator('nav h3').allTextContents(), ['chart_hdr', 'shortcut']);
    const [, equal, lost, recall] = await page.locator('nav li').allTextContents();
    assert.match(equal, /^Equal.*both sides are equal now$/);
    assert.match(lost, /^Gone.*the row is on neither side$/);
    assert.match(recall, /^Recall.*changed on both sides, found 3 times$/);
    await page.getByRole('link', { name: 'Recall' }).click();
    assert.match(await page.textContent('dl'),
        /First found by the run of3\/1\/2026.*Last found by the run of3\/5\/2026/s);
    assert.deepEqual(requests.filter((url) => !url.startsWith(review.origin)), [], 'nothing is loaded from elsewhere');
});

test('the first is shown with dates and marked differences; a side that lacked the row has neither', async () => {
    await changed('Alpha');
    await changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    await changed('New at the office', { type: ConflictType.newOnSource, laptop: null });
    await open();
    assert.equal(await page.textContent('h2#selected'), 'Alpha');
    assert.match(await page.textContent('dl'), /Changed at the office.*9:15.*Changed at this laptop.*11:40/s);
    assert.deepEqual(await values(), ['set at the office', 'set at the laptop']);
    assert.deepEqual(await page.locator('mark').allTextContents(), ['office', 'laptop']);
    await page.getByRole('link', { name: 'Deleted' }).click();
    assert.match(await page.textContent('dl'), /Changed at the officethe office has no such row/);
    assert.match(await page.textContent('dl'), /Changed at this laptop3\/2\/2026 11:40/);
    assert.deepEqual(await values(), ['(no row)', 'set at the laptop']);
    assert.match(await page.textContent('section[aria-labelledby=selected]'),
        /In the next run: Rule D2: Only this laptop has the row, changed since the last run/);
    await page.getByRole('link', { name: 'New at the office' }).click();
    assert.match(await page.textContent('dl'), /Changed at this laptopthis laptop has no such row/);
    assert.deepEqual(await values(), ['set at the office', '(no row)']);
});

test('the list is filtered by table, kind, day and text, and the address keeps all of it', async () => {
    await changed('Chart 7', { table: 'chart_hdr' });
    await changed('Recall', { found: ['2026-03-01 18:00', '2026-03-21 18:00'] });
    await changed('Überweisung');
    await changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    await open();
    await page.getByRole('combobox', { name: 'Table' }).selectOption('shortcut');
    await page.getByRole('combobox', { name: 'Kind' }).selectOption('changed on both sides');
    await page.getByLabel('Last found before').fill('2026-03-21');
    await page.getByRole('searchbox').fill('üBER');
    await page.keyboard.press('Enter');
    await page.waitForURL(/table=shortcut&kind=changed_on_both&text=%C3%BCBER&before=2026-03-21/);
    await page.getByRole('link', { name: 'Überweisung' }).click();
    await page.waitForURL(/text=%C3%BCBER.*show=/);
    assert.equal(await page.locator('nav a').count(), 1);
    await open('?text=deleted+at+the+OFFICE');
    assert.deepEqual(await page.locator('nav a').allTextContents(), ['Deleteddeleted at the office']);
    await page.getByRole('searchbox').fill('nothing like it');
    await press('Show');
    await page.getByText('No conflict fits the filter.').waitFor();
    await page.getByRole('link', { name: 'Show all' }).click();
    await page.getByText('4 waiting').waitFor();
    assert.equal(await page.locator('nav a').count(), 4);
});

test('a filter that cannot be used is told, and lists nothing', async () => {
    await changed('Alpha');
    assert.equal((await open('?kind=odd')).status(), 400);
    assert.match(await page.textContent('[role=alert]'), /there is no kind of conflict "odd"/);
    assert.equal(await page.locator('nav').count(), 0);
});

test('script text in the data stays text', async () => {
    const script = '<script>document.title = "owned"</script>';
    await changed(script + '"\'&', { column: '<img src=x onerror=alert(1)>', office: script, laptop: '</div><h1>x</h1>',
        table: '"><b>bold</b>' });
    let dialogs = 0;
    page.on('dialog', (dialog) => { dialogs += 1; return dialog.dismiss(); });
    const assertOnlyText = async () => {
        assert.notEqual(await page.title(), 'owned');
        assert.equal(await page.locator('script, img, b').count(), 0);
        assert.equal(dialogs, 0);
    };
    await open();
    assert.equal(await page.textContent('h2#selected'), script + '"\'&');
    assert.deepEqual(await values(), [script, '</div><h1>x</h1>']);
    assert.equal(await page.textContent('.sides tbody th'), '<img src=x onerror=alert(1)>');
    await assertOnlyText();
    await page.getByLabel('Apply to all 1 shown').check();
    await press('Dismiss…');
    assert.ok((await page.textContent('.long')).includes(`${script}"'&`));
    await assertOnlyText();
    await page.getByLabel('Reason').fill(script);
    await press('Do it');
    assert.ok((await page.textContent('[role=status]')).startsWith(`${script}"'&: the conflict was dismissed.`));
    await assertOnlyText();
    await open(`?table=${encodeURIComponent(script)}`);
    assert.ok((await page.textContent('[role=alert]')).includes(script));
    await assertOnlyText();
});
