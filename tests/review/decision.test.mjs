// Decisions that the page takes at the laptop for the conflict that it shows.
import assert from 'node:assert/strict';
import { randomUUID } from 'node:crypto';
import { rmSync, symlinkSync } from 'node:fs';
import { test } from 'node:test';
import { ConflictType, hoursAfter } from './support/Practice.mjs';
import { decisionLogOf, lastDecision, report } from './support/Review.mjs';
import { laptop, notice, office, page, practice, press, pressAccessKey, reviewAt,
    trouble } from './support/browser.mjs';

const review = await reviewAt('laptop');
const open = (query = '') => page.goto(review.address + query);
const changed = (key, more) => practice.conflict(laptop, key, more);
const kTwice = { found: ['2026-03-01 18:00', '2026-03-02 18:00'] };

test('each choice is carried out, told once, and followed by the next conflict under the same filter', async () => {
    await changed('Chart', { table: 'chart_hdr' });
    const [later, kept, copied] = [await changed('Later'), await changed('Kept'), await changed('Copied', kTwice)];
    const deleted = await changed('Deleted', { type: ConflictType.deletedOnSource, office: null });
    const choose = async (key, choice, told) => {
        await page.getByRole('link', { name: key }).click();
        await page.getByRole('heading', { name: key }).waitFor();
        await press(choice);
        await page.getByText(`${key}: ${told}`).waitFor();
    };
    await open('?table=shortcut');
    await choose('Kept', 'Later', 'the conflict stays in the list.');
    assert.equal(await page.textContent('h2#selected'), 'Later');
    assert.equal(await page.locator('nav a').count(), 4);
    await page.reload();
    assert.equal(await page.locator('[role=status]').count(), 0);
    await choose('Later', 'Later', 'the conflict stays in the list.');
    await choose('Kept', 'Use this laptop\'s', 'this laptop\'s row was left as it is, and the conflict is closed.');
    await choose('Copied', 'Use the office\'s', 'the office\'s row was copied over this laptop\'s.');
    await choose('Deleted', 'Delete at this laptop', 'the row was deleted at this laptop.');
    assert.equal(await laptop.waits(later), true);
    for (const conflict of [kept, copied, deleted]) assert.equal(await laptop.waits(conflict), false);
    assert.deepEqual(await laptop.conflictCounts(), [2, 2]);
    for (const row of [later.row, kept.row]) assert.equal(await laptop.shortcutText(row), 'set at the laptop');
    for (const side of [office, laptop]) assert.equal(await side.shortcutText(copied.row), 'set at the office');
    assert.equal(await laptop.shortcutText(deleted.row), '');
});

test('a row that changed before or while it was looked at is shown as it is today before it is lost', async () => {
    const conflict = await changed('Alpha');
    await open();
    await laptop.setText(conflict.row, 'typed in today');
    await press('Use the office\'s');
    assert.equal(await page.textContent('h1'), 'Use the office\'s for 1 row?');
    assert.match(await page.textContent('.long'), /Alpha.*item_text.*set at the office.*typed in today/s);
    await page.getByRole('link', { name: 'Back to the list' }).click();
    await page.getByText('The row is not as it was found.').waitFor();
    await press('Use the office\'s');
    await page.getByRole('heading', { name: 'Use the office\'s for 1 row?' }).waitFor();
    assert.equal(await laptop.shortcutText(conflict.row), 'typed in today');
    assert.equal(await laptop.waits(conflict), true);
    await press('Do it');
    await page.getByText('Alpha: the office\'s row was copied').waitFor();
    assert.equal(await laptop.shortcutText(conflict.row), 'set at the office');
});

test('a conflict that a run recorded, in columns of every type, is decided at once', async () => {
    const row = randomUUID();
    const patient = 990001;
    await practice.onBoth(`insert into patient (unid, full_name) values (${patient}, 'Mira Birkfelder')`);
    const add = async (side, values, hours) => side.insert('chart_item', { unid: row, chart_hdr_id: row,
        patient_id: patient, ...values, mod_date: hoursAfter(await side.now(), hours) });
    await add(office, { proc_id: 7, tooth: 11, surface: 'MO', treatment_date: '2026-02-03T10:30:15.250', fee: 1234.5,
        hours: 0.1, completed_f: 1 }, 1);
    await add(laptop, { proc_id: null, tooth: 12, surface: 'D', treatment_date: '2026-02-04T00:00:00', fee: 0.0001,
        hours: 1e-7, completed_f: 0 }, 2);
    try {
        const { status } = await report('recorded', '[[table]]\nname = "chart_item"\nmethod = "one_way"\n');
        assert.equal(status, 2);
        await open();
        assert.deepEqual(await page.locator('.sides tbody th').allTextContents(), ['proc_id', 'tooth', 'surface',
            'treatment_date', 'fee', 'hours', 'completed_f']);
        await press('Use the office\'s');
        assert.match(await notice(), / date: .*: the office's row was copied over this laptop's\./);
        assert.deepEqual(await laptop.sql(`select fee from chart_item where unid = '${row}'`), [['1234.5000']]);
    }
    finally {
        await practice.onBoth(`delete from chart_item where unid = '${row}';
                               delete from patient where unid = ${patient}`);
    }
});

test('a dismissal says first what the next run does, wants a reason, and is in the decision log', async () => {
    const conflict = await changed('Alpha', kTwice);
    await open();
    assert.match(await page.textContent('#why-dismiss'),
        /^Takes the conflict off the list and changes no row\. The next run/);
    const reason = page.getByLabel('Reason');
    assert.equal(await reason.evaluate((field) => field.validity.valueMissing), true);
    await reason.evaluate((field) => field.removeAttribute('required'));
    await reason.fill('   ');
    await press('Dismiss');
    assert.match(await trouble(), /A dismissal needs a reason/);
    assert.equal(await laptop.waits(conflict), true);
    await reason.fill('both <texts> are fine');
    await page.keyboard.press('Enter');
    assert.match(await notice(), /^Alpha: the conflict was dismissed\. The next run/);
    assert.deepEqual(await laptop.conflictCounts(), [0, 0]);
    assert.equal(await laptop.shortcutText(conflict.row), 'set at the laptop');
    const decision = lastDecision('laptop');
    assert.deepEqual([decision.choice, decision.reason, decision.outcome],
        ['dismissed', 'both <texts> are fine', 'dismissed']);
    assert.deepEqual(decision.ids.sort(), conflict.ids.map((id) => `{${id.toUpperCase()}}`).sort());
});

test('nothing is decided while the disk of the decision log is full', async () => {
    const conflict = await changed('Alpha');
    const log = decisionLogOf('laptop');
    rmSync(log, { force: true });
    symlinkSync('/dev/full', log);
    try {
        await open();
        await press('Use the office\'s');
        assert.match(await trouble(), /^The decision log .* cannot be written/);
        await page.getByLabel('Reason').fill('a reason');
        await press('Dismiss');
        assert.match(await trouble(), /^The decision log .* cannot be written/);
    }
    finally {
        rmSync(log);
    }
    assert.equal(await laptop.shortcutText(conflict.row), 'set at the laptop');
    assert.equal(await laptop.waits(conflict), true);
});

test('the keyboard alone steps, skips and resolves', async () => {
    await changed('Key 1');
    const second = await changed('Key 2');
    const third = await changed('Key 3');
    await open();
    await pressAccessKey('n');
    await page.waitForURL(/show=%7B/);
    assert.equal(await page.textContent('h2#selected'), 'Key 2');
    await page.keyboard.press('Tab');
    assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Skip to the conflict');
    await page.keyboard.press('Enter');
    for (const focused of ['Show equal columns too', 'Use the office\'s', 'Use this laptop\'s']) {
        await page.keyboard.press('Tab');
        assert.match(await page.evaluate(() => document.activeElement.textContent), new RegExp(`^${focused}`));
    }
    await page.keyboard.press('Enter');
    await page.getByText('Key 2: this laptop\'s row was left').waitFor();
    assert.equal(await page.textContent('h2#selected'), 'Key 3');
    assert.equal(await laptop.waits(second), false);
    await pressAccessKey('o');
    await page.getByText('Key 3: the office\'s row was copied').waitFor();
    assert.equal(await laptop.waits(third), false);
});
