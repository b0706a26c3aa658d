import assert from 'node:assert/strict';
import { test } from 'node:test';
import { openBench } from './support/Review.mjs';

const { practice, review, browser, page } = await openBench('offices');
const { office, laptop } = practice;

const changed = (key) => practice.conflict(office, { key, office: 'set at the office', laptop: 'set at the laptop' });

test('only leaving a conflict for later is possible; the reasons stand beside the others', async () => {
    const conflict = changed('Recall');
    await page.goto(review.address);
    assert.equal(await page.textContent('h1'), 'Conflicts at the offices');
    assert.equal(await page.getByRole('button', { name: 'Use source' }).isDisabled(), true);
    assert.equal(await page.getByRole('button', { name: 'Use destination' }).isDisabled(), true);
    assert.match(await page.textContent('#why-source'), /Not possible at the offices: .* the conflict would stay/);
    assert.match(await page.textContent('#why-destination'),
        /Not possible at the offices: .*refuses to replicate back/);
    await browser.screenshot('offices');
    await page.getByRole('button', { name: 'Later' }).click();
    await page.getByText('The conflict stays in the list.').waitFor();
    assert.equal(office.waits(conflict), true);
});

test('the component\'s refusal is shown when a disabled button is sent all the same', async () => {
    const conflict = changed('Recall');
    await page.goto(review.address);
    await page.evaluate(() => document.querySelector('[value=destination]').removeAttribute('disabled'));
    await page.getByRole('button', { name: 'Use destination' }).click();
    await page.getByRole('alert').waitFor();
    assert.match(await page.textContent('[role=alert]'), /^The component refused: Cannot replicate back/);
    assert.equal(office.waits(conflict), true);
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
    await browser.screenshot('offices-refused');
});

test('using the source all the same changes nothing', async () => {
    const conflict = changed('Recall');
    const answer = await review.post('resolve', { id: conflict.id, use: 'source' });
    assert.equal(answer.status, 303);
    assert.match(answer.headers.get('location'), /done=kept$/);
    assert.equal(office.waits(conflict), true);
    assert.equal(laptop.shortcutText(conflict.row), 'set at the laptop');
});
