// SPDX-License-Identifier: MIT
// Panels that stay open or closed as the user has left them.

export function startPanels() {
  const kept = JSON.parse(localStorage.getItem('panels') ?? '{}');
  const isSmall = matchMedia('(max-width: 800px)').matches;
  for (const panel of document.querySelectorAll('.panels > details')) {
    if (panel.id in kept) panel.open = kept[panel.id];
    else if (isSmall && panel.id !== 'panel-controls') panel.open = false;
    panel.addEventListener('toggle', () => {
      kept[panel.id] = panel.open;
      localStorage.setItem('panels', JSON.stringify(kept));
    });
  }
}
