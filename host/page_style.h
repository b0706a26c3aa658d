#pragma once

/// The style sheet of the review page and of the report. Text and controls have a contrast of at least 4.5:1, also in
/// the dark scheme. The review's list begins at the selected row, since that is the only place to snap to for a moment:
/// all browsers know snapping, and few an initial place of scrolling.
constexpr char kPageStyle[] = R"css(
:root { color-scheme: light dark; --paper: #f6f7f8; --card: #fff; --ink: #1d2730; --soft: #55636f; --line: #d5dbe0;
  --accent: #0b5c8a; --on-accent: #fff; --mark: #ffe08a; --mark-ink: #3a2b00; --bad: #a01f1f; --bad-paper: #fdecec;
  --good: #1d6b3a; --good-paper: #e8f5ec; }
@media (prefers-color-scheme: dark) { :root { --paper: #14191d; --card: #1d2429; --ink: #e4eaee; --soft: #a3b1bc;
  --line: #38434b; --accent: #7cc4ee; --on-accent: #0c2331; --mark: #6a5200; --mark-ink: #fff3cf; --bad: #ff9d9d;
  --bad-paper: #3b1f20; --good: #8fdba9; --good-paper: #1b3325; } }
* { box-sizing: border-box; }
a { color: var(--accent); }
body { margin: 0; background: var(--paper); color: var(--ink); font: 16px/1.5 system-ui, "Segoe UI", sans-serif; }
header, main { max-width: 80rem; margin: 0 auto; padding: 1rem 1.5rem; }
header { display: flex; flex-wrap: wrap; align-items: center; gap: .5rem 1.5rem; }
h1 { font-size: 1.4rem; margin: 0; flex: 1 1 14rem; }
h2 { font-size: 1.15rem; margin: 0 0 .25rem; overflow-wrap: anywhere; }
h3 { font-size: .9rem; margin: 1rem 0 .25rem; color: var(--soft); overflow-wrap: anywhere; }
.soft { color: var(--soft); font-size: .9rem; margin: 0; overflow-wrap: anywhere; }
.card { background: var(--card); border: 1px solid var(--line); border-radius: .5rem; padding: 1rem 1.25rem;
  margin-bottom: 1rem; }
.notice { border-left: .3rem solid var(--good); background: var(--good-paper); }
.trouble { border-left: .3rem solid var(--bad); background: var(--bad-paper); white-space: pre-wrap; }
.notice, .trouble, .long { max-height: 24rem; overflow: auto; overflow-wrap: anywhere; }
.notice > p, .trouble > p, .report .card > p { margin: 0; }
.notice > p + p, .trouble > p + p { margin-top: .5rem; }
.review { display: grid; grid-template: "filter filter" "list detail" / minmax(18rem, 1fr) minmax(0, 3fr); gap: 1rem;
  align-items: start; }
.review > * { margin: 0; }
.review > .filter { grid-area: filter; }
.list { grid-area: list; position: sticky; top: 1rem; max-height: calc(100vh - 2rem); display: flex;
  flex-direction: column; }
.detail { grid-area: detail; }
.skip a { position: absolute; top: -5rem; left: 1rem; background: var(--card); padding: .5rem; z-index: 1; }
.skip a:focus { top: .5rem; }
.steps { display: flex; gap: .25rem 1rem; flex-wrap: wrap; margin: 0 0 .5rem; font-size: .9rem; }
.filter { display: flex; flex-wrap: wrap; gap: .75rem; align-items: end; }
label { font-size: .85rem; color: var(--soft); }
label > * { display: block; }
input[type=checkbox], input[type=radio] { display: inline; margin: .2rem .4rem 0 0; accent-color: var(--accent); flex: none; }
fieldset { display: flex; flex-wrap: wrap; gap: .5rem .75rem; align-items: end; margin: 1rem 0 0; padding: .5rem 0 0;
  border: 0; border-top: 1px solid var(--line); }
fieldset > .soft { flex: 1 0 100%; }
fieldset > label { flex: 1 1 12rem; }
.list fieldset > label { flex: 1 0 100%; display: flex; align-items: baseline; }
[name=reason] { width: 100%; }
legend { padding-right: .5rem; font-weight: 600; font-size: .9rem; }
input, select, button { font: inherit; color: var(--ink); background: var(--card); border: 1px solid var(--soft);
  border-radius: .35rem; padding: .4rem .7rem; max-width: 100%; }
button { cursor: pointer; border-color: var(--accent); color: var(--accent); font-weight: 600; }
button.first { background: var(--accent); color: var(--on-accent); }
button.deletes { border: .15rem solid var(--bad); color: var(--bad); }
.loss, .loses h2 { color: var(--bad); font-weight: 600; }
.loses { border-left: .3rem solid var(--bad); }
kbd { font: .75rem/1 ui-monospace, Consolas, monospace; border: 1px solid currentColor; border-radius: .2rem;
  padding: .1rem .25rem; margin-left: .4rem; vertical-align: middle; }
button[disabled] kbd { display: none; }
.keys { margin-top: 1rem; }
button[disabled] { cursor: not-allowed; border-color: var(--line); color: var(--soft); text-decoration: line-through; }
:focus-visible { outline: .2rem solid var(--accent); outline-offset: .15rem; }
nav { flex: 1 1 auto; min-height: 6rem; overflow: auto; scroll-snap-type: y mandatory; }
@keyframes begins-here { from, to { scroll-snap-align: center; } }
nav ul { list-style: none; margin: 0; padding: 0; }
nav li { display: flex; align-items: center; }
nav a { flex: 1; min-width: 0; padding: .4rem .6rem; border-radius: .35rem; color: var(--ink); text-decoration: none;
  overflow-wrap: anywhere; border-left: .25rem solid transparent; }
nav a:hover { background: var(--paper); }
nav a[aria-current] { animation: begins-here .3s; background: var(--paper); border-left-color: var(--accent);
  font-weight: 600; }
small { color: var(--soft); font-weight: 400; }
nav small, small strong { display: block; }
strong { color: var(--ink); font-weight: 600; }
nav > h3:first-child { margin-top: 0; }
dl { display: flex; flex-wrap: wrap; gap: .5rem 2rem; margin: .75rem 0; }
dt { font-size: .85rem; color: var(--soft); }
dd { margin: 0; overflow-wrap: anywhere; }
table { width: 100%; border-collapse: collapse; }
th, td { text-align: left; vertical-align: top; padding: .5rem .4rem; border-bottom: 1px solid var(--line); }
thead th { font-size: .85rem; color: var(--soft); }
.sides { table-layout: fixed; margin: 1rem 0; }
.sides th { overflow-wrap: anywhere; }
.sides th:first-child { width: 22%; padding-left: 0; font-size: .8rem; }
.sides .name th { font-size: .9rem; }
.value { max-height: 18rem; overflow: auto; white-space: break-spaces; overflow-wrap: anywhere;
  font-family: ui-monospace, Consolas, monospace; font-size: .9rem; }
.same, .same .value { color: var(--soft); }
.same > * { display: inline; }
.same::before { content: "= "; }
summary { cursor: pointer; color: var(--accent); font: .85rem/1.6 system-ui, "Segoe UI", sans-serif; }
mark { background: var(--mark); color: var(--mark-ink); border-radius: .15rem; text-decoration: underline .1em;
  text-underline-offset: .2em; }
.choices { display: grid; grid-template-columns: repeat(auto-fit, minmax(13rem, 1fr)); gap: 1rem; margin-top: 1rem; }
.choices button { width: 100%; }
.choices p { margin-top: .35rem; }
td.number, th.number { text-align: right; font-variant-numeric: tabular-nums; }
td.alarm { color: var(--bad); font-weight: 700; }
.wide { overflow-x: auto; }
@media (max-width: 50rem) {
  .review { grid-template: "detail" "filter" "list" / minmax(0, 1fr); }
  .list { position: static; max-height: none; }
  nav { max-height: 60vh; }
  kbd, .keys { display: none; }
  .long { max-height: none; }
  .detail dl > div { flex: 1 0 8.5rem; }
}
@media screen and (max-width: 50rem) {
  table, tbody, tr, th, td { display: block; overflow-wrap: break-word; }
  thead { position: absolute; clip-path: inset(50%); height: 1px; width: 1px; overflow: hidden; white-space: nowrap; }
  tr { border-bottom: 1px solid var(--line); padding: .5rem 0; }
  th, td, .sides th:first-child { width: auto; border: 0; padding: .15rem 0; }
  td:empty { display: none; }
  .same > * { display: block; }
  td[data-column]::before { content: attr(data-column); display: block; font-size: .8rem; font-weight: 400;
    color: var(--soft); }
  td.number { display: flex; justify-content: space-between; align-items: baseline; gap: 1rem; }
}
/* The report. */
.verdict h1 { flex: 1 0 100%; font-size: 1.7rem; color: var(--bad); overflow-wrap: anywhere; }
.verdict.good h1 { color: var(--good); }
.verdict dl { margin: 0; }
.did table { width: auto; min-width: min(100%, 30rem); }
.sums { flex-direction: column; gap: .25rem; }
.sums div { display: flex; flex-wrap: wrap; gap: 0 .75rem; align-items: baseline; }
.sum { font-size: 1.3rem; font-variant-numeric: tabular-nums; }
.report th[scope=row] { font-weight: 600; }
.chart { display: block; width: 100%; max-width: 48rem; height: auto; margin-top: .75rem; }
.symbol { width: 1rem; height: 1rem; vertical-align: -.15rem; }
.bar { fill: var(--accent); }
.fault { fill: none; stroke: var(--bad); stroke-width: 3; }
.waits { fill: var(--ink); }
.base { stroke: var(--soft); }
.ends { display: flex; justify-content: space-between; gap: 1rem; max-width: 48rem; }
.legend { display: flex; flex-wrap: wrap; gap: .25rem 1.25rem; margin: .25rem 0 .75rem; }
@media print { :root { color-scheme: light; --paper: #fff; --card: #fff; --ink: #1d2730; --soft: #55636f;
  --line: #d5dbe0; --accent: #0b5c8a; --bad: #a01f1f; --bad-paper: #fff; --good: #1d6b3a; --good-paper: #fff; }
  .card { break-inside: avoid; max-height: none; overflow: visible; } .wide { overflow: visible; }
  details.card { break-inside: auto; } details::details-content { content-visibility: visible; block-size: auto; } }
)css";
