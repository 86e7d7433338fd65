// KrRBTree: the red-black fix-ups after insertion and deletion. Nodes have no
// parent links; both walk up the path recorded on the way down, and popping
// past the root reads the sentinel's null.
#include <kr/containers.h>

#include "containers/rbtree_internal.h"

using kr_detail::Replace;

void KrRBTree::RestoreBalance(KrRBTreeNodeStack* path, KrRBTreeNode* x) {
  KrRBTreeNode* p = path->Pop();
  while (x && p && p->IsRed()) {
    KrRBTreeNode* g = path->Pop();  // a red node is never the root
    bool parentOnLeft = g->Left() == p;
    KrRBTreeNode* uncle = parentOnLeft ? g->right : g->Left();
    if (KrRBTreeIsRed(uncle)) {
      p->SetBlack();
      uncle->SetBlack();
      g->SetRed();
      x = g;
      p = path->Pop();
      continue;
    }
    KrRBTreeNode* gg = path->Pop();
    if (parentOnLeft) {
      if (p->right == x) {  // inner grandchild: rotate left at p first
        p->right = x->Left();
        x->SetLeft(p);
        p = x;  // g's left link is rewritten by the rotation below
      }
      g->SetLeft(p->right);  // rotate right at g
      p->right = g;
    } else {
      if (p->Left() == x) {  // inner grandchild: rotate right at p first
        p->SetLeft(x->right);
        x->right = p;
        p = x;  // g's right link is rewritten by the rotation below
      }
      g->right = p->Left();  // rotate left at g
      p->SetLeft(g);
    }
    p->SetBlack();
    g->SetRed();
    Replace(*this, gg, g, p);
    break;
  }
  root->SetBlack();
}

void KrRBTree::Fixup(KrRBTreeNodeStack* path, KrRBTreeNode* x, int side) {
  KrRBTreeNode* p = path->Pop();
  // x is "doubly black": its side of p has one black node too few. In a
  // sound tree the sibling w then exists.
  while (x != root && !KrRBTreeIsRed(x)) {
    if (x) side = p->right == x ? -1 : 1;
    KrRBTreeNode* gp = path->TopNode();
    if (side < 0) {  // x on the right, sibling on the left
      KrRBTreeNode* w = p->Left();
      if (w->IsRed()) {  // rotate right at p: the sibling becomes black
        p->SetLeft(w->right);
        w->right = p;
        w->SetBlack();
        p->SetRed();
        Replace(*this, gp, p, w);
        gp = w;
        w = p->Left();
      }
      if (!KrRBTreeIsRed(w->Left()) && !KrRBTreeIsRed(w->right)) {
        w->SetRed();
        x = p;
        p = path->Pop();
        continue;
      }
      if (!KrRBTreeIsRed(w->Left())) {  // far child black: rotate left at w
        KrRBTreeNode* r = w->right;
        w->right = r->Left();
        r->SetLeft(w);
        p->SetLeft(r);
        r->SetBlack();
        w->SetRed();
        w = r;
      }
      w->SetColourOf(p);
      p->SetBlack();
      w->Left()->SetBlack();
      p->SetLeft(w->right);  // rotate right at p
      w->right = p;
      Replace(*this, gp, p, w);
    } else {  // x on the left, sibling on the right
      KrRBTreeNode* w = p->right;
      if (w->IsRed()) {  // rotate left at p: the sibling becomes black
        p->right = w->Left();
        w->SetLeft(p);
        w->SetBlack();
        p->SetRed();
        Replace(*this, gp, p, w);
        gp = w;
        w = p->right;
      }
      if (!KrRBTreeIsRed(w->Left()) && !KrRBTreeIsRed(w->right)) {
        w->SetRed();
        x = p;
        p = path->Pop();
        continue;
      }
      if (!KrRBTreeIsRed(w->right)) {  // far child black: rotate right at w
        KrRBTreeNode* l = w->Left();
        w->SetLeft(l->right);
        l->right = w;
        p->right = l;
        l->SetBlack();
        w->SetRed();
        w = l;
      }
      w->SetColourOf(p);
      p->SetBlack();
      w->right->SetBlack();
      p->right = w->Left();  // rotate left at p
      w->SetLeft(p);
      Replace(*this, gp, p, w);
    }
    x = root;
  }
  if (x) x->SetBlack();
}
