// How the pages look, on a desktop and a phone, by day and by night. The pictures are left in the tests' folder.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ConflictType } from './support/Practice.mjs';
import { assertLooksRight, kDesktop, kPhone, laptop, page, practice, press, reviewAt } from './support/browser.mjs';

const review = await reviewAt('laptop');
const tops = (...places) => Promise.all(places.map(async (place) => (await page.locator(place).boundingBox()).y));

async function someConflicts() {
    const text = 'The patient asks for a reminder by telephone, not by letter. '.repeat(8);
    await practice.conflict(laptop, 'Recall letter for Donaudampfschifffahrtsgesellschaft', {
        found: ['2026-03-01 18:00', '2026-03-05 18:00'],
        office: `Dear Mrs. Birkfelder, please call 0731 555 1234. ${text}See you on 3/14/2026.`,
        laptop: `Dear Ms. Birkfelder, please call 0731 555 1243. ${text}See you on 3/21/2026.` });
    await practice.conflict(laptop, 'Signature', { type: ConflictType.deletedOnSource, office: null });
    await practice.conflict(laptop, 'Thanks', { office: 'the same', laptop: 'the same' });
}

test('the review page looks right, with the row first on a phone', async () => {
    await someConflicts();
    await page.goto(review.address);
    await assertLooksRight('row');
    assert.deepEqual(await page.locator('.sides thead th').allTextContents(), ['Column', 'The office', 'This laptop']);
    assert.equal(await page.textContent('#why-source'), 'Copies the office\'s row over this laptop\'s.');
    assert.match(await page.textContent('dl + p'), /^In the next run: ./);
    const [list, detail] = await tops('.list', '.detail');
    assert.equal(list, detail);
    await page.setViewportSize(kPhone);
    const [row, filter, below] = await tops('.detail', '.filter', '.list');
    assert.ok(row < filter && filter < below);
    assert.deepEqual(await page.locator('.sides td').evaluateAll((cells) =>
        cells.map((cell) => getComputedStyle(cell, '::before').content)), ['"The office"', '"This laptop"']);
    const [left, right] = await page.locator('.sides td').evaluateAll((cells) =>
        cells.map((cell) => cell.getBoundingClientRect().x));
    assert.equal(left, right, 'the sides stand below each other');
    await page.setViewportSize(kDesktop);
});

test('a deletion looks different from keeping, and not by its colour alone', async () => {
    await someConflicts();
    await page.goto(review.address);
    await page.getByRole('link', { name: 'Signature' }).click();
    const style = (value, property) => page.locator(`.choices [value=${value}]`).evaluate((button, name) =>
        getComputedStyle(button)[name], property);
    assert.match(await page.textContent('.choices [value=source]'), /^✕ Delete at this laptop/);
    assert.notEqual(await style('source', 'color'), await style('destination', 'color'));
    assert.notEqual(await style('source', 'borderWidth'), await style('destination', 'borderWidth'));
    assert.match(await page.textContent('[aria-current] small'), /^deleted at the office$/);
    assert.match(await page.textContent('#why-source .loss'), /⚠ Deletes the row at this laptop too\./);
    assert.equal(await page.locator('#why-destination .loss').count(), 0);
    await assertLooksRight('deletion');
    await page.getByLabel('Apply to all 3 shown').check();
    await press('Use the office\'s…');
    assert.match(await page.textContent('.loses h2'), /✕ Deleted at this laptop: 1/);
    await assertLooksRight('confirmation');
});

test('all columns of a row, and a list of several groups, look right', async () => {
    await practice.manyConflicts(laptop, 120, 1);
    await page.goto(`${review.address}?equal=yes&text=row&at=70`);
    assert.equal(await page.textContent('h2#selected'), 'Row 071');
    await assertLooksRight('groups');
});

test('the end is asked for, and asking changes nothing', async () => {
    await someConflicts();
    await page.goto(`${review.address}?table=shortcut`);
    await press('End the review…');
    assert.match(await page.textContent('main'), /End the review\?.*(No row was|1 row was|\d+ rows were) decided in this review\./s);
    await assertLooksRight('end');
    await page.getByRole('link', { name: 'Back to the list' }).click();
    await page.waitForURL(/table=shortcut/);
    assert.equal((await fetch(review.address + 'quit')).status, 405);
    assert.equal((await review.post('end')).status, 405);
    assert.equal((await fetch(review.address)).status, 200);
});
