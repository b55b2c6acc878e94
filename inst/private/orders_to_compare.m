% SPDX-FileCopyrightText: the pistonfield developers
% SPDX-License-Identifier: BSD-3-Clause

function pairs = orders_to_compare(piston, k)
  % pairs = orders_to_compare(piston, k): pairs of a rougher and a finer order, N by 2, whose
  % fields are compared. An edge of the length L takes k*L/4 nodes before it resolves the waves
  % along it at all; up to there two fields might agree by chance. The last finer order is the
  % largest, and at least a third above its rougher one, so that their agreement tells. None are
  % left for a piston of too many wavelengths.
  largest = 4096;
  first = ceil(k * max(piston.width, piston.height) / 4) + 8;
  orders = first * 2 .^ (0:floor(log2(largest / first)))';
  pairs = [orders(1:end - 1), orders(2:end)];
  if first < largest && orders(end) < largest
    last = min(max(first, largest / 2), largest * 3 / 4);
    pairs = [pairs; last, largest];
  end
end
