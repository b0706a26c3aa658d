// What the page shows of a row's columns.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { laptop, page, practice, reviewAt } from './support/browser.mjs';

const review = await reviewAt('laptop');
const open = (query = '') => page.goto(review.address + query);
const changed = (key, more) => practice.conflict(laptop, key, more);
const names = () => page.locator('.sides tbody th').allTextContents();
const values = () => page.locator('.sides td').allTextContents();
const marks = () => page.locator('mark').allTextContents();

test('differences are marked word by word, numbers and days as a whole', async () => {
    await changed('Words', { office: 'The old crown on 12 holds, seen 3/1/2026 9:30:00 AM, 12.50 paid',
        laptop: 'The new crown on 13 holds, seen 3/1/2026 9:45:00 AM, 12.55 paid' });
    await open();
    assert.deepEqual(await marks(), ['old', '12', '3/1/2026 9:30:00 AM, 12.50', 'new', '13',
        '3/1/2026 9:45:00 AM, 12.55']);
});

test('dates have the user\'s form wherever they are shown', async () => {
    const dates = { office: '3/2/2026 9:15:00 AM', laptop: '3/2/2026 11:40:05 AM' };
    const { row } = await changed('Dates', { column: 'mod_date', ...dates });
    for (const side of ['office', 'laptop'])
        await practice[side].sql(
            `update shortcut set mod_date = '${dates[side]}', item_text = 'x' where unid = '${row}'`);
    await open();
    assert.match(await page.textContent('dl'), /the office3\/2\/2026 9:15:00 AM.* laptop3\/2\/2026 11:40:00 AM/);
    const assertShown = async () => assert.deepEqual(await page.locator('tr:has(th:text-is("mod_date")) td')
        .allTextContents(), Object.values(dates));
    await assertShown();
    await page.getByRole('link', { name: 'Show equal columns too' }).click();
    await page.waitForURL(/equal=yes/);
    await assertShown();
    await page.getByLabel('Apply to all 1 shown').check();
    await page.getByRole('button', { name: 'Use the office\'s…' }).click();
    await page.getByText('Nothing has been done yet.').waitFor();
    await assertShown();
});

test('what is long and equal is folded and can be opened', async () => {
    const text = 'The patient asks for a reminder. '.repeat(110).slice(0, 3499);
    await changed('Long', { office: text + 'X', laptop: text + 'Y' });
    await open();
    assert.deepEqual(await marks(), ['TX', 'TY']);
    const fold = page.locator('.sides td').first().locator('details');
    assert.equal(await fold.locator('summary').textContent(), '… 3334 characters equal …');
    const height = async () => (await page.locator('.sides').boundingBox()).height;
    const folded = await height();
    await fold.locator('summary').click();
    assert.ok(await height() > folded);
    assert.equal((await page.locator('.sides td').first().textContent()).replace(/….*…/, ''), text + 'X');
});

test('equal columns are shown on demand as they are today, and the address keeps that', async () => {
    await changed('Alpha');
    const beta = await changed('Beta');
    await open();
    assert.deepEqual(await names(), ['item_text']);
    await page.getByRole('link', { name: 'Show equal columns too' }).click();
    await page.waitForURL(/equal=yes/);
    assert.deepEqual((await names()).slice(0, 3), ['unid', 'item_name', 'item_text']);
    assert.equal(await page.locator('tr', { has: page.getByText('item_name') }).locator('td').count(), 1);
    assert.equal(await page.textContent('tr:has(th:text-is("item_name")) td'), 'review');
    assert.deepEqual(await page.locator('tr:has(th:text-is("item_text")) mark').allTextContents(),
        ['office', 'laptop']);
    await laptop.setText(beta.row, 'typed in today');
    await page.getByRole('link', { name: 'Beta' }).click();
    await page.getByText('The row is not as it was found. All its columns as they are today').waitFor();
    assert.deepEqual(await page.locator('tr:has(th:text-is("item_text")) td:last-child').allTextContents(),
        ['set at the laptop', 'typed in today']);
    await page.getByRole('link', { name: 'Show only what differs' }).click();
    await page.getByRole('link', { name: 'Show equal columns too' }).waitFor();
    assert.deepEqual(await names(), ['item_text']);
    assert.deepEqual(await values(), ['set at the office', 'set at the laptop']);
});
