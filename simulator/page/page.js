'use strict';
document.documentElement.classList.add('with-script');

// ---- Links lead into folded parts, also in browsers that do not unfold these by themselves ----

function unfold(element) {
  for (let part = element; part; part = part.parentElement) {
    if (part.localName === 'details') part.open = true;
  }
}

function goToHash() {
  const goal = document.getElementById(decodeURIComponent(location.hash.slice(1)));
  if (!goal) return;
  unfold(goal);
  goal.scrollIntoView({block: 'center'});
}
addEventListener('hashchange', goToHash);
goToHash();

// Paper cannot be unfolded. What was folded is so again afterwards.
let foldedForPrint = [];
addEventListener('beforeprint', () => {
  foldedForPrint = [...document.querySelectorAll('details:not([open])')];
  for (const part of foldedForPrint) part.open = true;
});
addEventListener('afterprint', () => {
  for (const part of foldedForPrint) part.open = false;
});

// ---- Searching the rules ----

const search = document.getElementById('search');
if (search) {
  const rules = [...document.querySelectorAll('tr.rule')];
  let texts = null;
  search.addEventListener('input', () => {
    texts ??= rules.map((rule) => (rule.id + ' ' + rule.textContent).toLowerCase());
    const wanted = search.value.trim().toLowerCase();
    let found = 0;
    rules.forEach((rule, at) => {
      const fits = texts[at].includes(wanted);
      rule.hidden = !fits;
      if (!fits) return;
      ++found;
      if (wanted) unfold(rule);
    });
    document.getElementById('found').textContent = wanted ? `${found} of ${rules.length} rules` : '';
  });
}

// ---- The picture ----

const picture = document.getElementById('picture');
const drawing = picture?.querySelector('svg');
if (drawing) {
  const width = drawing.viewBox.baseVal.width;
  const nodes = [...drawing.querySelectorAll('g.node')];
  // Graphviz writes the id of a node as its title.
  const idOf = (node) => node.querySelector('title').textContent;

  const show = (scale) => {
    drawing.style.width = `${Math.max(50, width * scale)}px`;
    drawing.style.height = 'auto';
  };
  const fitting = () => Math.min(1.4, picture.clientWidth / width);
  let scale = fitting();
  const zoom = (factor) => {
    const x = (picture.scrollLeft + picture.clientWidth / 2) / picture.scrollWidth;
    const y = (picture.scrollTop + picture.clientHeight / 2) / picture.scrollHeight;
    scale = Math.min(8, Math.max(fitting() / 4, scale * factor));
    show(scale);
    picture.scrollLeft = x * picture.scrollWidth - picture.clientWidth / 2;
    picture.scrollTop = y * picture.scrollHeight - picture.clientHeight / 2;
  };
  const showAll = () => show(scale = fitting());
  document.getElementById('closer').addEventListener('click', () => zoom(1.4));
  document.getElementById('farther').addEventListener('click', () => zoom(1 / 1.4));
  document.getElementById('whole').addEventListener('click', showAll);
  picture.addEventListener('keydown', (event) => {
    if (event.key === '+') zoom(1.4);
    if (event.key === '-') zoom(1 / 1.4);
    if (event.key === '0') showAll();
  });
  picture.addEventListener('wheel', (event) => {
    if (!event.ctrlKey) return;
    event.preventDefault();
    zoom(event.deltaY < 0 ? 1.1 : 1 / 1.1);
  }, {passive: false});
  showAll();

  for (const node of nodes) {
    node.addEventListener('click', () => {
      if (document.getElementById(idOf(node))) location.hash = encodeURIComponent(idOf(node));
    });
  }
  const find = document.getElementById('find-node');
  find.addEventListener('input', () => {
    const wanted = find.value.trim().toLowerCase();
    const found = nodes.filter((node) => {
      const fits = wanted !== '' && (idOf(node) + ' ' + node.textContent).toLowerCase().includes(wanted);
      node.classList.toggle('found', fits);
      return fits;
    });
    found[0]?.scrollIntoView({block: 'center', inline: 'center'});
    document.getElementById('found-nodes').textContent = wanted ? `${found.length} of ${nodes.length} nodes` : '';
  });
}
