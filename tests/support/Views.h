// Views: the views that comparisons with a walk-order reference are run on, and the casts of
// parameter objects that every operator test repeats.
#ifndef TARN_TESTS_SUPPORT_VIEWS_H_INCLUDED
#define TARN_TESTS_SUPPORT_VIEWS_H_INCLUDED

#include <Kito/Composite>
#include <Kito/IVolume>
#include <Kito/Orientation>
#include <Kito/SmartPointer>
#include <Kito/Triple>
#include <Kito/Types>

namespace TestSupport {

/// One view of a volume: a region pushed on the whole volume, or none, then an orientation. Each
/// test suite picks regions and orientations of its own, so that together they cover more views.
/// index numbers the views of a table: tests derive their random seeds from it.
struct View {
    int index;
    bool pushRegion;
    Tarn::Kito::RegionOfInterest<Tarn::Kito::SizeType> region;
    Tarn::Kito::Orientation orientation;
};

/// The whole volume in storage order.
inline View wholeView(int index) { return View{index, false, {}, Tarn::Kito::Orientation(0, 2, 4)}; }

/// A region of extent dim at origin, in storage order.
inline View regionView(int index, const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& dim,
                       const Tarn::Kito::Position<Tarn::Kito::SizeType>& origin)
{
    return View{index, true, Tarn::Kito::RegionOfInterest<Tarn::Kito::SizeType>(dim, origin),
                Tarn::Kito::Orientation(0, 2, 4)};
}

/// A region of extent dim at origin (storage terms), then seen through orientation.
inline View turnedRegionView(int index, const Tarn::Kito::Dimension<Tarn::Kito::SizeType>& dim,
                             const Tarn::Kito::Position<Tarn::Kito::SizeType>& origin,
                             const Tarn::Kito::Orientation& orientation)
{
    return View{index, true, Tarn::Kito::RegionOfInterest<Tarn::Kito::SizeType>(dim, origin), orientation};
}

/// The whole volume seen through orientation.
inline View turnedView(int index, const Tarn::Kito::Orientation& orientation)
{
    return View{index, false, {}, orientation};
}

/// Pushes the view's region on a volume that shows its whole self in storage order, then turns it.
template <class V> void setView(V& volume, const View& view)
{
    if (view.pushRegion) volume.setRoi(view.region);
    volume.setOrientation(view.orientation);
}

template <class Parameter>
Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite> asComposite(const Tarn::Kito::SmartPointer<Parameter>& p)
{
    return Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::Persistence::IComposite>>(p);
}

/// A new parameter object of an operator whose input volume is volume.
template <class Parameter, class V> Tarn::Kito::SmartPointer<Parameter> parameterWithInput(const V& volume)
{
    Tarn::Kito::SmartPointer<Parameter> p(new Parameter);
    p->inputVolume.setValue(Tarn::Kito::DynamicCast<Tarn::Kito::SmartPointer<Tarn::Kito::IVolume>>(volume));
    return p;
}

} // namespace TestSupport

#endif
