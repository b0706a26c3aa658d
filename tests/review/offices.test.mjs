import assert from 'node:assert/strict';
import { test } from 'node:test';
import { ConflictType } from './support/Practice.mjs';
import { lastDecision, openBench } from './support/Review.mjs';

const { practice, review, browser, page } =
    await openBench('offices', '[[table]]\nname = "shortcut"\nmethod = "one_way_deletes"\n');
const { office, laptop } = practice;

const button = (name) => page.getByRole('button', { name, exact: true });
const changed = (key) => practice.conflict(office, { key, office: 'set at the office', laptop: 'set at the laptop' });

/// A row that somebody typed in at the laptop before the last run: the offices found it, and the next run deletes it.
function typedInAtTheLaptop(key) {
    const conflict = practice.conflict(office, { key, type: ConflictType.newOnDestination, office: null,
        laptop: 'only at the laptop' });
    laptop.sql(`update shortcut set mod_date = timestamp '${office.lastRun(0)}' - interval '1 day'
                where unid = '${conflict.row}'`);
    return conflict;
}

test('no resolution settles a conflict, and each says why and what the next run does', async () => {
    changed('Recall');
    await page.goto(review.address);
    assert.equal(await page.textContent('h1'), 'Conflicts at the offices');
    assert.equal(await button('Use source').isDisabled(), true);
    assert.equal(await button('Use destination').isDisabled(), true);
    assert.equal(await button('Later').isEnabled(), true);
    assert.match(await page.textContent('#why-source'), /^Not possible: .*copies nothing at the offices.*The next run/);
    assert.match(await page.textContent('#why-destination'), /^Not possible: .*does not copy back.*The next run/);
    assert.match(await page.textContent('#why-later'), /^Leaves the conflict in the list\. The next run/);
    assert.match(await page.textContent('#why-dismiss'), /changes no row\. The next run/);
    assert.deepEqual(await page.locator('nav + fieldset button').allTextContents(), ['Dismiss…']);
    await browser.views('offices');
});

test('a disabled button that is sent all the same is refused with its reason', async () => {
    const conflict = changed('Recall');
    for (const [use, reason] of [['source', /^Recall: Not possible: .*copies nothing at the offices/],
        ['destination', /^Recall: Not possible: .*does not copy back/]]) {
        await page.goto(review.address);
        const sent = page.locator(`.choices [value=${use}]`);
        await sent.evaluate((button) => button.removeAttribute('disabled'));
        await sent.click();
        await page.getByRole('alert').waitFor();
        assert.match(await page.textContent('[role=alert]'), reason);
        assert.equal(office.waits(conflict), true);
        assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
        assert.equal(office.shortcutText(conflict.row), 'set at the office');
    }
    await browser.screenshot('offices-refused');
});

test('a row typed in at the laptop: the next run deletes it, as the page says, and dismissing wants a reason', async () => {
    const conflict = typedInAtTheLaptop('Typed in');
    await page.goto(review.address);
    assert.match(await page.textContent('dl'), /the source has no such row/);
    assert.match(await page.textContent('#why-later'),
        /deletes the row at the destination.*as long as the conflict waits/);
    assert.match(await page.textContent('#why-dismiss'), /The next run deletes the row at the destination\.$/);
    await browser.views('offices-typed-in');
    await button('Dismiss').click();
    assert.equal(await page.getByLabel('Reason').evaluate((field) => field.validity.valueMissing), true);
    assert.equal(office.waits(conflict), true);
    await page.getByLabel('Reason').fill('entered twice');
    await button('Dismiss').click();
    assert.equal(await page.textContent('[role=status]'),
        'Typed in: the conflict was dismissed. The next run deletes the row at the destination.');
    assert.equal(office.waits(conflict), false);
    assert.equal(laptop.hasShortcut(conflict.row), true);
    const decision = lastDecision('offices');
    assert.deepEqual([decision.key_info, decision.choice, decision.reason], ['Typed in', 'dismissed', 'entered twice']);
    assert.equal(decision.lost_row.item_text, 'only at the laptop');
});

test('several are dismissed after the rows that the next run deletes were shown', async () => {
    const conflicts = [typedInAtTheLaptop('Typed in 1'), typedInAtTheLaptop('Typed in 2'), changed('Recall')];
    await page.goto(review.address);
    await page.getByLabel('Apply to all 3 shown').check();
    await button('Dismiss…').click();
    assert.equal(await page.textContent('h1'), 'Dismiss 3 rows?');
    assert.match(await page.textContent('.counts'), /dismissed3/);
    assert.match(await page.textContent('main'), /Deleted at the destination by the next run: 2/);
    assert.match(await page.textContent('.long'), /Typed in 1.*only at the laptop.*Typed in 2/s);
    await page.getByLabel('Reason').evaluate((field) => field.removeAttribute('required'));
    await button('Do it').click();
    assert.match(await page.textContent('[role=alert]'), /A dismissal needs a reason/);
    assert.deepEqual(conflicts.map((conflict) => office.waits(conflict)), [true, true, true]);
    await browser.views('offices-confirm');
    await page.getByLabel('Reason').fill('tidied up');
    await button('Do it').click();
    await page.getByText('No conflicts wait.').waitFor();
    assert.equal(await page.locator('[role=status] p').count(), 3);
    assert.equal(lastDecision('offices').reason, 'tidied up');
});
