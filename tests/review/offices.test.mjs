// At the offices no resolution settles a conflict: the page says why, and what the next run does.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ConflictType, hoursAfter } from './support/Practice.mjs';
import { lastDecision } from './support/Review.mjs';
import { assertFits, button, laptop, office, page, practice, press, reviewAt, trouble }
    from './support/browser.mjs';

const review = await reviewAt('offices');
const why = (choice) => page.textContent(`#why-${choice}`);

/// A row that somebody typed in at the laptop before the last run: the offices found it, and the next run deletes it.
async function typedInAtTheLaptop(key) {
    const conflict = await practice.conflict(office, key, { type: ConflictType.newOnDestination, office: null,
        laptop: 'only at the laptop' });
    const [[lastRun]] = await office.sql('select last_timestamp from replication_control where unique_key = 0');
    await laptop.sql(`update shortcut set mod_date = '${hoursAfter(lastRun, -24)}' where unid = '${conflict.row}'`);
    return conflict;
}

test('no resolution can be pressed, or sent all the same, and each says why and what the next run does', async () => {
    const conflict = await practice.conflict(office, 'Recall');
    await page.goto(review.address);
    assert.equal(await page.textContent('h1'), 'Conflicts at this office');
    assert.deepEqual(await Promise.all(['Use this office\'s', 'Use the laptop\'s', 'Later'].map((name) =>
        button(name).isDisabled())), [true, true, false]);
    assert.match(await why('source'), /^Not possible: .*copies nothing at the offices.*The next run/);
    assert.match(await why('destination'), /^Not possible: .*does not copy back.*The next run/);
    assert.match(await why('later'), /^Leaves the conflict in the list\. The next run/);
    assert.match(await why('dismiss'), /changes no row\. The next run/);
    assert.deepEqual(await page.locator('nav + fieldset button').allTextContents(), ['Dismiss…']);
    for (const use of ['source', 'destination']) {
        const sent = page.locator(`.choices [value=${use}]`);
        await sent.evaluate((choice) => choice.removeAttribute('disabled'));
        await sent.click();
        assert.match(await trouble(), /^Recall: Not possible: /);
    }
    assert.equal(await office.waits(conflict), true);
    assert.equal(await laptop.shortcutText(conflict.row), 'set at the laptop');
    assert.equal(await office.shortcutText(conflict.row), 'set at the office');
});

test('several are dismissed after the rows that the next run deletes were shown', async () => {
    await typedInAtTheLaptop('Typed in 1');
    await typedInAtTheLaptop('Typed in 2');
    await practice.conflict(office, 'Recall');
    await page.goto(review.address);
    await page.getByLabel('Apply to all 3 shown').check();
    await press('Dismiss…');
    assert.equal(await page.textContent('h1'), 'Dismiss 3 rows?');
    assert.match(await page.textContent('.counts'), /dismissed3/);
    assert.match(await page.textContent('main'), /Deleted at the laptop by the next run: 2/);
    assert.match(await page.textContent('.long'), /Typed in 1.*only at the laptop.*Typed in 2/s);
    await assertFits();
    await page.getByLabel('Reason').evaluate((field) => field.removeAttribute('required'));
    await press('Do it');
    assert.match(await trouble(), /A dismissal needs a reason/);
    assert.deepEqual(await office.conflictCounts(), [3, 3]);
    await page.getByLabel('Reason').fill('tidied up');
    await press('Do it');
    await page.getByText('No conflicts wait.').waitFor();
    assert.equal(await page.locator('[role=status] p').count(), 3);
    assert.equal(lastDecision('offices').reason, 'tidied up');
});

test('an error that keeps runs from beginning is told when no conflict waits any more', async () => {
    const setError = (flag) => office.sql(`update replication_control set error_f = '${flag}', error_message = ` +
        "'Changed on both' where unique_key = 0");
    await setError(1);
    try {
        await page.goto(review.address);
        await page.getByText('No conflicts wait.').waitFor();
        assert.match(await page.textContent('.trouble'), /^No run begins yet, .*quinrep run --ready --reset-error\.$/);
    } finally {
        await setError(0);
    }
    await page.goto(review.address);
    assert.equal(await page.locator('.trouble').count(), 0);
});
