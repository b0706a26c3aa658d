import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ConflictType } from './support/Practice.mjs';
import { openBench } from './support/Review.mjs';

const { practice, review, browser, page } = await openBench('laptop');
const { office, laptop } = practice;

const open = () => page.goto(review.address);
const press = (name) => page.getByRole('button', { name }).click();
const select = (conflict) => page.getByRole('link', { name: conflict.key }).click();
const changed = (key, more = {}) =>
    practice.conflict(laptop, { key, office: 'set at the office', laptop: 'set at the laptop', ...more });

test('no conflicts are said to wait when there are none', async () => {
    await open();
    assert.match(await page.textContent('main'), /No conflicts wait\./);
});

test('conflicts are listed by table, the first with its columns, dates and marked differences', async () => {
    changed('Chart 7, Anna Beck', { table: 'chart_hdr' });
    changed('Shortcut "Recall"');
    await open();
    assert.deepEqual(await page.locator('nav h3').allTextContents(), ['chart_hdr', 'shortcut']);
    assert.equal(await page.textContent('h2'), 'Chart 7, Anna Beck');
    assert.match(await page.textContent('dl'), /Changed at the source.*9:15.*Changed at the destination.*11:40/s);
    assert.deepEqual(await page.locator('.value').allTextContents(), ['set at the office', 'set at the laptop']);
    assert.deepEqual(await page.locator('mark').allTextContents(), ['office', 'laptop']);
    await browser.screenshot('laptop-list');
});

test('the list is filtered by table and by text in any case', async () => {
    changed('Chart 7', { table: 'chart_hdr' });
    changed('Recall');
    changed('Überweisung');
    await open();
    await page.getByRole('combobox', { name: 'Table' }).selectOption('shortcut');
    await press('Show');
    assert.equal(await page.locator('nav a').count(), 2);
    await page.getByLabel('Key or kind contains').fill('üBER');
    await page.keyboard.press('Enter');
    await page.waitForURL(/text=%C3%BCBER/);
    assert.equal(await page.locator('nav a').count(), 1);
    assert.equal(await page.textContent('h2'), 'Überweisung');
    await page.getByLabel('Key or kind contains').fill('nothing like it');
    await page.keyboard.press('Enter');
    await page.getByText('No conflict fits the filter.').waitFor();
});

test('the source is used: its row replaces the destination\'s and the conflict goes', async () => {
    const conflict = changed('Alpha');
    await open();
    await press('Use source');
    await page.getByText('The conflict is settled.').waitFor();
    assert.equal(laptop.shortcutText(conflict.row), 'set at the office');
    assert.equal(office.shortcutText(conflict.row), 'set at the office');
    assert.equal(laptop.waits(conflict), false);
    assert.equal(laptop.columnsOf(conflict), 0);
    await browser.screenshot('laptop-settled');
});

test('the source is used for a row deleted there: it is deleted at the destination', async () => {
    const conflict = changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    await open();
    await press('Use source');
    await page.getByText('The conflict is settled.').waitFor();
    assert.equal(laptop.hasShortcut(conflict.row), false);
    assert.equal(laptop.waits(conflict), false);
});

test('the destination is used: both rows stay and the conflict goes', async () => {
    const conflict = changed('Beta');
    await open();
    await press('Use destination');
    await page.getByText('The conflict is settled.').waitFor();
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
    assert.equal(office.shortcutText(conflict.row), 'set at the office');
    assert.equal(laptop.waits(conflict), false);
});

test('later: everything stays, the filter too, and the next conflict is shown', async () => {
    const first = changed('Gamma 1');
    changed('Gamma 2');
    changed('Chart', { table: 'chart_hdr' });
    await page.goto(review.address + '?table=shortcut');
    await press('Later');
    await page.getByText('The conflict stays in the list.').waitFor();
    assert.equal(laptop.waits(first), true);
    assert.equal(await page.locator('nav a').count(), 2);
    assert.equal(await page.textContent('h2'), 'Gamma 2');
});

test('a resolution without effect is shown as not possible, with the reason', async () => {
    changed('New here', { type: ConflictType.newOnDestination, office: null });
    await open();
    const source = page.getByRole('button', { name: 'Use source' });
    assert.equal(await source.isDisabled(), true);
    assert.match(await page.textContent('#why-source'), /Not possible: .*no row of the source/);
    assert.equal(await page.getByRole('button', { name: 'Use destination' }).isEnabled(), true);
});

test('the keyboard alone selects and resolves', async () => {
    changed('Key 1');
    const second = changed('Key 2');
    await open();
    await page.getByRole('link', { name: 'Key 2' }).focus();
    await page.keyboard.press('Enter');
    await page.waitForURL(/id=%7B/);
    assert.equal(await page.textContent('h2'), 'Key 2');
    await page.locator('.value').last().focus();
    await page.keyboard.press('Tab');
    await page.keyboard.press('Tab');
    assert.equal(await page.evaluate(() => document.activeElement.value), 'destination');
    await page.keyboard.press('Enter');
    await page.getByText('The conflict is settled.').waitFor();
    assert.equal(laptop.waits(second), false);
});

test('a column of 3,500 characters is shown in full, its one difference marked', async () => {
    const text = 'The patient asks for a reminder. '.repeat(110).slice(0, 3499);
    changed('Long', { office: text + 'X', laptop: text + 'Y' });
    await open();
    assert.deepEqual(await page.locator('.value').allTextContents(), [text + 'X', text + 'Y']);
    assert.deepEqual(await page.locator('mark').allTextContents(), ['X', 'Y']);
    const overflow = await page.evaluate(() => document.documentElement.scrollWidth - window.innerWidth);
    assert.ok(overflow <= 0, `the page is ${overflow} pixels too wide`);
    await browser.screenshot('laptop-long-column');
});

test('script text in the data stays text', async () => {
    const script = '<script>document.title = "owned"</script>';
    changed(script + '"\'&', { column: '<img src=x onerror=alert(1)>', office: script, laptop: '</div><h1>x</h1>',
        table: '"><b>bold</b>' });
    let dialogs = 0;
    page.on('dialog', (dialog) => { dialogs += 1; return dialog.dismiss(); });
    await open();
    assert.equal(await page.title(), 'Conflicts');
    assert.equal(await page.textContent('h2'), script + '"\'&');
    assert.deepEqual(await page.locator('.value').allTextContents(), [script, '</div><h1>x</h1>']);
    assert.equal(await page.textContent('.sides tbody th'), '<img src=x onerror=alert(1)>');
    assert.equal(await page.locator('script, img, b').count(), 0);
    assert.equal(dialogs, 0);
    await browser.screenshot('laptop-script-text');
});

test('a conflict that is gone meanwhile is told, not resolved', async () => {
    const conflict = changed('Gone');
    await open();
    laptop.sql(`delete from replication_conflict where unid = '${conflict.id}'`);
    await press('Use source');
    await page.getByRole('alert').waitFor();
    assert.match(await page.textContent('[role=alert]'), /there is no conflict/);
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
});

test('nothing is loaded from elsewhere', async () => {
    changed('Any');
    await open();
    assert.deepEqual(browser.requests.filter((url) => !url.startsWith(review.origin)), []);
});
